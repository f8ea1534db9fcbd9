// Preloaded into nvram: $FORKS generations of its processes can be started, and then no more.
#include <dlfcn.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdlib>

extern "C" pid_t fork() {
    static int left = std::atoi(std::getenv("FORKS"));
    if (left-- <= 0) {
        errno = EAGAIN;
        return -1;
    }
    return reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"))();
}
