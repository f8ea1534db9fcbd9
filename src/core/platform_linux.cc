// The platform on the router: the only file of rc that calls the system.

#include <errno.h>
#include <fcntl.h>
#include <net/if.h>
#include <netdb.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/klog.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/platform.h"
#include "libnvram/standard_descriptors.h"

namespace platform {

namespace {

// A plain cast would be a useless one where the C library has the same type.
template <class To, class From>
To converted(From value) {
    return static_cast<To>(value);
}

}  // namespace

void prepare_process() {
    open_standard_descriptors();
    umask(umask(0) | 022);
    // A handler and not SIG_IGN, which commands would inherit.
    struct sigaction goes_on = {};
    goes_on.sa_handler = [](int) {};
    goes_on.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &goes_on, nullptr);
}

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

FILE* open_secret_file(const char* path, const char* mode) {
    const mode_t usual = umask(077);
    FILE* stream = fopen(path, mode);
    umask(usual);
    // The umask does not change a file that was there before.
    if (stream) fchmod(fileno(stream), 0600);
    return stream;
}

bool file_exists(const char* path) {
    return access(path, F_OK) == 0;
}

void remove_file(const char* path) {
    unlink(path);
}

void set_mode(const char* path, unsigned mode) {
    chmod(path, mode);
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

long long current_time() {
    return time(nullptr);
}

tm local_time(long long seconds) {
    const auto when = converted<time_t>(seconds);
    tm local = {};
    // localtime_r need not read TZ again.
    tzset();
    localtime_r(&when, &local);
    return local;
}

long long time_of_local(tm local) {
    return mktime(&local);
}

namespace {

// A request has 32 bits. POSIX takes it as an int, glibc as an unsigned long.
template <class Request>
Request type_of_request(int (*)(int, Request, ...));

int control(int device, unsigned long request, const void* argument) {
    return ioctl(device, converted<decltype(type_of_request(ioctl))>(request), argument);
}

// One request about an interface, on a new socket that sends and receives nothing.
InterfaceQuery ask_interface(int socket_type, int protocol, unsigned long what, const char* name,
                             ifreq& request) {
    const int device = socket(AF_INET, socket_type | SOCK_CLOEXEC, protocol);
    if (device < 0) return InterfaceQuery::NoSocket;

    // A longer name would be truncated and could then match another interface.
    const bool fits = strlen(name) < sizeof request.ifr_name;
    if (fits) strcpy(request.ifr_name, name);
    request.ifr_addr.sa_family = AF_INET;
    const bool found = fits && control(device, what, &request) == 0;
    close(device);
    return found ? InterfaceQuery::Found : InterfaceQuery::NotThere;
}

}  // namespace

InterfaceQuery interface_address(const char* name, in_addr& address) {
    ifreq request = {};
    // Protocol 255.
    const InterfaceQuery answer = ask_interface(SOCK_RAW, IPPROTO_RAW, SIOCGIFADDR, name, request);
    if (answer != InterfaceQuery::Found) return answer;
    sockaddr_in found = {};
    memcpy(&found, &request.ifr_addr, sizeof found);
    address = found.sin_addr;
    return answer;
}

InterfaceQuery interface_mac(const char* name, std::array<unsigned char, 6>& mac) {
    ifreq request = {};
    const InterfaceQuery answer = ask_interface(SOCK_DGRAM, 0, SIOCGIFHWADDR, name, request);
    if (answer == InterfaceQuery::Found) memcpy(mac.data(), request.ifr_hwaddr.sa_data, mac.size());
    return answer;
}

InterfaceQuery interface_mtu(const char* name, int& mtu) {
    ifreq request = {};
    const InterfaceQuery answer = ask_interface(SOCK_RAW, IPPROTO_RAW, SIOCGIFMTU, name, request);
    if (answer == InterfaceQuery::Found) mtu = request.ifr_mtu;
    return answer;
}

bool look_up_host(const char* name, HostAddress& host) {
    const hostent* found = gethostbyname(name);
    if (!found || !found->h_addr_list[0] || found->h_length < 0) return false;
    host = {.family = found->h_addrtype, .bytes = {}};
    const auto length = static_cast<size_t>(found->h_length);
    memcpy(host.bytes.data(), found->h_addr_list[0], length < 16 ? length : 16);
    return true;
}

int kernel_log(int action) {
    return klogctl(action, nullptr, 0);
}

int open_device(const char* path) {
    return open(path, O_RDONLY | O_CLOEXEC);
}

int device_request(int device, unsigned long request, const void* argument, size_t) {
    return control(device, request, argument);
}

void close_device(int device) {
    close(device);
}

}  // namespace platform
