// A substitute for rc whose actions use the parts of the platform that no case of rc reaches. It is
// linked to the recording platform and to the real one, like rc.

#include <signal.h>
#include <stdlib.h>

#include <string_view>

#include "core/command.h"
#include "core/file.h"
#include "core/platform.h"
#include "core/unused.h"
#include "rc/rc.h"
#include "rc/unused.h"

namespace {

void read_pipe() {
    for (const char* line : {"/bin/ps -ax", "/bin/cat /nothing", "/bin/refused"}) {
        OwnedText output;
        const int status = myPipe(line, output);
        print("%d '%s'\n", status, output ? output.get() : "(absent)");
    }
}

void pause_and_read_uptime() {
    platform::sleep_microseconds(1);
    platform::sleep_microseconds(999);
    platform::sleep_microseconds(1000);
    platform::sleep_microseconds(250'000);
    platform::sleep_seconds(2);
    if (File uptime = open_file("/proc/uptime", "r"))
        print("uptime %lld\n", uptime.read_number().value_or(-1));
    SYSTEM("cp /proc/uptime /tmp/wan_uptime");
    if (File copy = open_file("/tmp/wan_uptime", "r"))
        print("copied %lld\n", copy.read_number().value_or(-1));
}

void append_twice() {
    DEBUG("rate %d", 1);
    DEBUG("%s", "");
    print("unfinished");
    console_trace(nullptr, "probe.cc", 7, "append_twice", "%d\n", 2);
    console_trace(platform::standard_output(), "probe.cc", 8, "append_twice", "%d\n", 3);
}

void change_files() {
    SYSTEM("/bin/echo \"one  two\" > %s", "/proc/sys/net/ipv4/conf/br0/first");
    SYSTEM("/bin/cp -f %s /tmp/first", "/proc/sys/net/ipv4/conf/br0/first");
    SYSTEM("echo 'three' >>%s", "/tmp/first");
    SYSTEM("cp %s %s", "/tmp/first", "/tmp/second");
    SYSTEM("/bin/rm -f /tmp/first");
    for (const char* path : {"/tmp/first", "/tmp/second", "/proc/uptime", "/proc/cpuinfo"})
        print("%s %d\n", path, platform::file_exists(path));
    if (File second = open_file("/tmp/second", "a")) second.print("four\n");
    if (File unchanged = open_file("/tmp/second", "r+")) unchanged.seek(1);
    if (File changed = open_file("/tmp/second", "r+")) changed.print("ONE");

    File removed = open_file("/tmp/deep/file", "w");
    platform::remove_file("/tmp/deep/file");
    removed.print("%c%c", 0, 30);
}

void run_nested() {
    print("outer %d\n", platform::own_pid());
    platform::set_environment("STAGE", "1");
    platform::set_environment("STAGE", "1");
    SYSTEM("/usr/sbin/rc number inner& >/dev/null");
    SYSTEM("/usr/sbin/rc number \"two words\" 2>&1");
    platform::send_signal(platform::own_pid() + 7, SIGTERM);
    print("outer ends in the middle");
}

void ask_addresses() {
    for (const char* name : {"br0", "eth2.1", "eth2.2", "an_interface_with_a_long_name"})
        print("%s\n", getIPAddress(name).value_or("(absent)").c_str());
}

}  // namespace

int rc_main(int argc, char** argv) {
    const std::string_view action = argc > 1 ? argv[1] : "";
    if (action == "pipe") read_pipe();
    if (action == "pause") pause_and_read_uptime();
    if (action == "append") append_twice();
    if (action == "files") change_files();
    if (action == "nested") run_nested();
    if (action == "number") print("%s %d\n", argv[2], platform::own_pid());
    if (action == "addresses") ask_addresses();
    if (action == "device") set_up_switch();
    if (action == "variable") print("%d\n", set_boot_environment("bootdelay", "3"));
    if (action == "crash") abort();
    if (action == "hang")
        for (;;) platform::sleep_microseconds(1);
    return action == "status" ? -1 : 0;
}
