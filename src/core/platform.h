// The platform's interface. Everything that rc does to the router or reads from it goes through
// these functions. platform_linux.cc implements them; the workstation's programs link an in-memory
// router instead. Settings have a separate interface, libnvram/libnvram.h.
#ifndef RC_CORE_PLATFORM_H
#define RC_CORE_PLATFORM_H

#include <netinet/in.h>
#include <stdio.h>
#include <time.h>

#include <array>

namespace platform {

// Processes and the shell.

// Called by main before anything else. Opens closed standard descriptors, so that no later file
// gets one of their numbers; keeps files that the run or its commands make from being writable by
// others; and survives a reader of its output that has gone: a run that ended there would leave the
// router half configured. Commands get the default action for SIGPIPE.
void prepare_process();

// Runs a line with /bin/sh -c and waits for it. Standard output is flushed first, so that a log
// shows messages and commands in order. Returns the wait status, as system(3) does.
int run_shell(const char* line);

// Runs a line with /bin/sh -c; the stream reads its output. Null with errno if it cannot be
// started. close_pipe waits for its end and returns the wait status.
FILE* open_pipe(const char* line);
int close_pipe(FILE* stream);

int own_pid();
void send_signal(int pid, int signal);
void set_environment(const char* name, const char* value);

// Files. Modes are those of fopen(3); null with errno if the file cannot be opened. The caller
// closes the stream with fclose(3).
FILE* open_file(const char* path, const char* mode);
// The same for a file with a password that only root reads: its mode becomes 0600, whatever the
// umask.
FILE* open_secret_file(const char* path, const char* mode);
bool file_exists(const char* path);
void remove_file(const char* path);
void set_mode(const char* path, unsigned mode);

// Standard output, and a message on standard error followed by the text of errno, as perror(3)
// gives it.
FILE* standard_output();
void print_error(const char* what);

void sleep_seconds(unsigned seconds);
void sleep_microseconds(unsigned microseconds);

// Seconds since 1970 in UTC.
long long current_time();
// Conversion to and from local time in the zone of the environment's TZ. time_of_local returns -1
// if the time cannot be represented, as mktime(3) does.
tm local_time(long long seconds);
long long time_of_local(tm local);

// An interface's properties from the kernel (netdevice(7)). NoSocket leaves errno set.
enum class InterfaceQuery { Found, NotThere, NoSocket };
// Its IPv4 address, read through a raw socket (SIOCGIFADDR). NotThere if it has no address.
InterfaceQuery interface_address(const char* name, in_addr& address);
// Its hardware address, read through a datagram socket (SIOCGIFHWADDR).
InterfaceQuery interface_mac(const char* name, std::array<unsigned char, 6>& mac);
// Its MTU, read through a raw socket (SIOCGIFMTU).
InterfaceQuery interface_mtu(const char* name, int& mtu);

// Looks up the first address of a host by name, as gethostbyname(3) does. False if the name has no
// address. The resolver chooses the family: AF_INET with 4 bytes, AF_INET6 with 16.
struct HostAddress {
    int family;
    std::array<unsigned char, 16> bytes;
};
bool look_up_host(const char* name, HostAddress& host);

// Calls syslog(2), the kernel's log control. Returns its result, or -1 with errno.
int kernel_log(int action);

// Requests to a character device (ioctl(2)). open_device returns a handle, device_request 0 or
// more; both return -1 with errno on failure.
int open_device(const char* path);
int device_request(int device, unsigned long request, const void* argument, size_t size);
void close_device(int device);

}  // namespace platform

#endif
