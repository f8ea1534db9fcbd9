// The results of handlers on the router of every case: 0, except for handlers that could not do
// their work. Transcripts do not show them: most results only decide whether a group continues.

#include <filesystem>
#include <functional>

#include "core/run_state.h"
#include "lan/reservations.h"
#include "plan/router/case.h"
#include "plan/router/case_file.h"
#include "rc/apps.h"
#include "rc/boot.h"
#include "recorded.h"
#include "wan/wan.h"
#include "wireless/wireless.h"

namespace {

// The handlers that report that one of their files cannot be created. All others always return 0.
struct Needed {
    const char* handler;
    const char* file;
};
constexpr Needed needed[] = {
    {"syslogd create", "/tmp/syslog.conf"},
    {"dhcpd create", "/etc/udhcpd.conf"},
    {"route start", "/tmp/sroute"},
    {"route start", "/etc/gateways"},
};

// The Internet side's parts, which are in no table of applications.
struct Part {
    const char* name;
    int (*run)();
};
constexpr Part wan_parts[] = {
    {"start_wan", [] { return start_wan(1); }},
    {"stop_wan", stop_wan},
    {"start_dhcpc", start_dhcpc},
    {"start_ip", start_ip},
    {"start_pppoe", [] { return start_pppoe(1); }},
    {"start_pptp", [] { return start_pptp(1); }},
    {"start_l2tp", [] { return start_l2tp(1); }},
    {"start_bpa", [] { return start_bpa(1); }},
    {"start_ras", [] { return start_ras(1); }},
    {"mk_bpa_conf", mk_bpa_conf},
    {"set_mtu", set_mtu},
};

int expected_result(const std::string& handler, const Case& stated) {
    for (const Needed& row : needed)
        if (handler == row.handler && stated.world.denied.contains({row.file, "w"})) return -1;
    return 0;
}

int result_on(const Case& stated, int (*handler)()) {
    Recording played;
    played.world = case_world(stated);
    const Playing playing(played);
    const FreshRunState state;
    return handler();
}

void check_application(const std::string& file, const Case& stated, const rc_app& application) {
    const std::pair<const char*, Handler> handlers[] = {{" start", application.start},
                                                        {" stop", application.stop},
                                                        {" create", application.create}};
    for (const auto& [action, handler] : handlers) {
        if (!handler) continue;
        const std::string name = application.name + std::string(action);
        EXPECT_EQ(result_on(stated, handler), expected_result(name, stated))
            << name << " in " << file;
    }
}

void check_applications(const std::string& file, const Case& stated) {
    for (const rc_app* list : {rc_apps, rc_services})
        for (; list->name; list++) check_application(file, stated, *list);
}

// Calls look with the name ("lan/upnp_off") and content of every case, or of one of so many.
void for_each_case(const std::function<void(const std::string&, const Case&)>& look,
                   int every = 1) {
    const std::filesystem::path folder = CASES_FOLDER;
    int left = 0;
    for (const std::filesystem::path path : case_paths(folder)) {
        if (left-- > 0) continue;
        left = every - 1;
        const auto loaded = load_case(path);
        const auto* error = std::get_if<CaseError>(&loaded);
        ASSERT_EQ(error, nullptr) << error->message;
        look(relative(path, folder).replace_extension().string(), std::get<Case>(loaded));
    }
}

TEST(Results, HandlersReturnZeroOrThatAFileCannotBeMade) {
    int cases = 0;
    for_each_case(
        [&cases](const std::string& file, const Case& stated) {
            cases++;
            check_applications(file, stated);
        },
        CASES_EVERY);
    EXPECT_GT(cases, 1000 / CASES_EVERY);
}

TEST(Results, ThePartsOfTheInternetSideReturnZero) {
    int cases = 0;
    for_each_case(
        [&cases](const std::string& file, const Case& stated) {
            if (!file.starts_with("wan/")) return;
            cases++;
            for (const Part& part : wan_parts)
                EXPECT_EQ(result_on(stated, part.run), 0) << part.name << " in " << file;
        },
        CASES_EVERY);
    EXPECT_GT(cases, 250 / CASES_EVERY);
}

bool denied(const Case& stated, const char* path) {
    return stated.world.denied.contains({path, "w"});
}

TEST(Results, TheRadiosFilesAreWrittenOrNot) {
    int unwritten = 0;
    for_each_case([&unwritten](const std::string& file, const Case& stated) {
        if (!file.starts_with("wireless/")) return;
        const auto mode = stated.settings.find("wifi_dot11_mode");
        const bool radio_off = mode != stated.settings.end() && mode->second.starts_with('0');
        const bool no_settings =
            radio_off || denied(stated, "/var/RT2860AP.dat") || denied(stated, "/tmp/wifi_acc");
        EXPECT_EQ(result_on(stated, create_wifi_cfg), no_settings ? 0 : 1) << file;
        EXPECT_EQ(result_on(stated, create_sta_script), denied(stated, "/tmp/sta.sh") ? 0 : 1)
            << file;
        unwritten += no_settings;
    });
    EXPECT_GT(unwritten, 3);
}

TEST(Results, BootInitialisationReturnsZero) {
    int boots = 0;
    for_each_case([&boots](const std::string& file, const Case& stated) {
        if (!file.starts_with("core/boot")) return;
        boots++;
        EXPECT_EQ(result_on(stated, rc_init), 0) << file;
    });
    EXPECT_GT(boots, 20);
}

TEST(Results, AReservationIsEnteredOrTheLeaseFileCannotBeOpened) {
    const HardwareAddress client = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    struct Row {
        const char* denied;  // the mode in which the lease file cannot be opened
        int result;
    };
    for (const Row& row : {
             Row{"", 0},
             Row{"r+", -1},
             Row{"w", -1},
         }) {
        Recording played;
        const Playing playing(played);
        played.world.put(working_copy, settings_image({{"lan_ipaddr", "192.168.1.1"}}));
        played.world.put("/var/udhcpd.leases", "");
        played.world.denied.insert({"/var/udhcpd.leases", row.denied});
        EXPECT_EQ(search_leases("pc1", client, {192, 168, 1, 20}), row.result) << row.denied;
    }
}

}  // namespace
