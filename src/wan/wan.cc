// The WAN dispatcher. Writes /var/run/my_pid; stops clients in the process list with killall.

#include "wan/wan.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <array>

#include "core/command.h"
#include "core/platform.h"
#include "core/run_markers.h"
#include "core/wan_modes.h"
#include "libnvram/libnvram.h"

namespace {

constexpr const char* start_pid_file = "/var/run/my_pid";

// When a mode terminates a pppd that still runs: before or after "wan_ifname" is set.
enum class EndPppd { No, Before, After };

struct WanMode {
    const char* name;
    const char* announcement;  // null: the mode prints nothing
    EndPppd end_pppd;
    const char* ifname;  // null: the physical port carries the traffic itself
    int (*start)(int flag);
};

constexpr std::array wan_modes = {
    WanMode{.name = wan_mode::dhcpc,
            .announcement = "start_dhcpc()",
            .end_pppd = EndPppd::No,
            .ifname = nullptr,
            .start = [](int) { return start_dhcpc(); }},
    WanMode{.name = wan_mode::pppoe,
            .announcement = "start_pppoe()",
            .end_pppd = EndPppd::Before,
            .ifname = "ppp0",
            .start = start_pppoe},
    WanMode{.name = wan_mode::pptp,
            .announcement = "start_pptp()",
            .end_pppd = EndPppd::After,
            .ifname = "ppp0",
            .start = start_pptp},
    WanMode{.name = wan_mode::bpa,
            .announcement = "start_bpa()",
            .end_pppd = EndPppd::No,
            .ifname = nullptr,
            .start = start_bpa},
    WanMode{.name = wan_mode::ras,
            .announcement = "start_ras()",
            .end_pppd = EndPppd::No,
            .ifname = nullptr,
            .start = start_ras},
    WanMode{.name = wan_mode::l2tp,
            .announcement = nullptr,
            .end_pppd = EndPppd::After,
            .ifname = "ppp0",
            .start = start_l2tp},
    WanMode{.name = wan_mode::ip,
            .announcement = "start_ip()",
            .end_pppd = EndPppd::No,
            .ifname = nullptr,
            .start = [](int) { return start_ip(); }},
};

constexpr bool every_mode_once() {
    for (const std::string_view name : wan_mode::all)
        if (std::ranges::count(wan_modes, name, [](const WanMode& mode) { return mode.name; }) != 1)
            return false;
    return std::size(wan_mode::all) == wan_modes.size();
}
static_assert(every_mode_once(), "the dispatcher has the modes that the settings have");

void end_pppd() {
    platform::run_shell("/usr/bin/killall pppd >/dev/null 2>&1");
}

void start_mode(const WanMode& mode, int flag) {
    if (mode.announcement) print_line(mode.announcement);
    if (mode.end_pppd == EndPppd::Before) end_pppd();
    nvram_zel_set("wan_ifname", mode.ifname ? mode.ifname : wan_port().text());
    if (mode.end_pppd == EndPppd::After) end_pppd();
    mode.start(flag);
}

void stop_clients(const ProcessList& processes, bool dials_on_demand) {
    if (processes.names("bpalogin")) {
        SYSTEM("/usr/bin/killall -SIGTERM bpalogin");
        SYSTEM("/usr/bin/killall -9 bpamonitor");
    }
    if (processes.names("ras")) {
        platform::run_shell("/usr/bin/killall -SIGUSR2 ras");
        platform::sleep_seconds(1);
        SYSTEM("/usr/bin/killall -9 ras");
        SYSTEM("/usr/bin/killall -9 rasmonitor");
    }
    if (processes.names("udhcpc")) {
        // The client releases its lease on the first signal.
        SYSTEM("/usr/bin/killall -SIGUSR2 udhcpc");
        SYSTEM("/usr/bin/killall udhcpc");
    }
    if (processes.names("pppd")) {
        SYSTEM("/usr/bin/killall -SIGUSR2 pppd ");
        if (dials_on_demand)
            SYSTEM("/usr/bin/killall -1 pppd");
        else
            SYSTEM("/usr/bin/killall -1 pppd >/dev/null 2>&1");
    }
    if (processes.names("pptp")) SYSTEM("/usr/bin/killall pptp");
    // There is no such command, so l2tpd keeps running until the next L2TP start terminates it.
    if (processes.names("l2tpd")) SYSTEM("/usr/bin/killall-9 l2tpd");
}

}  // namespace

Setting wan_port() {
    return nvram_value("wan_phy_ifname").or_when_absent("eth2.2");
}

ProcessList::ProcessList() {
    myPipe("/bin/ps -ax", text_);
}

bool ProcessList::names(const char* program) const {
    return text_ && strstr(text_.get(), program);
}

bool usable_address(const std::optional<std::string>& address) {
    return address && *address != "0.0.0.0";
}

int start_wan(int flag) {
    replace_older_run(start_pid_file);

    const Setting wanted = nvram_text("wan_mode");
    print("wan mode =%s\n", wanted.text());
    if (wanted.view().size() >= 2) {
        platform::sleep_microseconds(10);
        for (const WanMode& mode : wan_modes)
            if (wanted.is(mode.name)) start_mode(mode, flag);
    }

    platform::remove_file(start_pid_file);
    platform::remove_file(wan_pid_file);
    return 0;
}

int stop_wan() {
    const Setting mode = nvram_text("wan_mode");
    // "wan_dod" decides for every PPP mode; the switches of PPTP and L2TP themselves are not read.
    const bool over_ppp =
        mode.is(wan_mode::pppoe) || mode.is(wan_mode::pptp) || mode.is(wan_mode::l2tp);
    const bool dials_on_demand = nvram_text("wan_dod").number() == 1 && over_ppp;
    platform::run_shell("/usr/sbin/rc service stop");
    platform::run_shell("/bin/rm /tmp/wan_uptime");

    stop_clients(ProcessList(), dials_on_demand);

    // Under a tunnel and under BigPond the port keeps its address.
    if (!mode.is(wan_mode::pptp) && !mode.is(wan_mode::l2tp) && !mode.is(wan_mode::bpa))
        SYSTEM("/sbin/ifconfig %s 0.0.0.0 >/dev/null 2>&1", wan_port().text());
    platform::sleep_seconds(2);
    platform::remove_file(wan_pid_file);
    return 0;
}
