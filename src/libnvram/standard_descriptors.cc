// Standard input, output and error of a program that was started without them: /dev/null.
#include "libnvram/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

void open_standard_descriptors() {
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(standard, F_GETFD) >= 0) continue;
        // The lowest free number is this one. A root folder without devices still has itself;
        // reading and writing it fails.
        if (::open("/dev/null", O_RDWR) < 0) ::open("/", O_RDONLY);
    }
}
