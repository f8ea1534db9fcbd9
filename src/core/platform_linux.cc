// The platform on the router: the only file of rc that calls the system.

#include <errno.h>
#include <fcntl.h>
#include <net/if.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "core/platform.h"

namespace platform {

int run_shell(const char* line) {
    fflush(stdout);
    return system(line);
}

FILE* open_pipe(const char* line) {
    fflush(stdout);
    return popen(line, "r");
}

int close_pipe(FILE* stream) {
    return pclose(stream);
}

int own_pid() {
    return getpid();
}

void send_signal(int pid, int signal) {
    kill(pid, signal);
}

void set_environment(const char* name, const char* value) {
    setenv(name, value, 1);
}

FILE* open_file(const char* path, const char* mode) {
    return fopen(path, mode);
}

bool file_exists(const char* path) {
    return access(path, F_OK) == 0;
}

void remove_file(const char* path) {
    unlink(path);
}

FILE* standard_output() {
    return stdout;
}

void print_error(const char* what) {
    const int error = errno;
    fflush(stdout);
    errno = error;
    perror(what);
}

void sleep_seconds(unsigned seconds) {
    while (seconds > 0) seconds = sleep(seconds);
}

void sleep_microseconds(unsigned microseconds) {
    usleep(microseconds);
}

AddressQuery interface_address(const char* name, in_addr& address) {
    // Protocol 255 is IPPROTO_RAW: the socket sends nothing and receives nothing, it only carries
    // the request.
    const int device = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_RAW);
    if (device < 0) return AddressQuery::NoSocket;

    ifreq request = {};
    // A longer name would be cut and could then be the name of another interface.
    const bool fits = strlen(name) < sizeof request.ifr_name;
    if (fits) strcpy(request.ifr_name, name);
    const bool found = fits && ioctl(device, SIOCGIFADDR, &request) == 0;
    close(device);
    if (!found) return AddressQuery::NoAddress;

    sockaddr_in answer = {};
    memcpy(&answer, &request.ifr_addr, sizeof answer);
    address = answer.sin_addr;
    return AddressQuery::Found;
}

int open_device(const char* path) {
    return open(path, O_RDONLY | O_CLOEXEC);
}

int device_request(int device, unsigned long request, const void* argument, size_t) {
    return ioctl(device, request, argument);
}

void close_device(int device) {
    close(device);
}

}  // namespace platform
