// `rc firewall create` over the recording platform: with empty lists, with all lists at capacity,
// and with growing lists of keywords and trusted hosts. Neither time nor the peak memory of a
// process that does it once may grow faster than the lists.

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/text.h"
#include "plan/router/recording.h"
#include "plan/router/settings.h"

namespace {

Settings basic() {
    return {{"fw_nat", "1"},
            {"lan_if", "br0"},
            {"lan_ipaddr", "192.168.1.1"},
            {"lan_netmask", "255.255.255.0"},
            {"wan_ifname", "eth2.2"},
            {"wan_mtu", "1500"}};
}

std::string repeat(int64_t count, const char* record) {
    std::string list;
    for (int64_t i = 0; i < count; i++) list += record;
    return list;
}

Settings full() {
    Settings settings = basic();
    settings["fw_in_rules"] = repeat(15, "web:1:x:8080:80:tcp:10\x01");
    settings["fw_out_rules"] = repeat(10, "game:1:x:1000:2000:both:20\x01");
    settings["fw_spapp"] = repeat(40, "0:1:app:tcp:6000-6010:udp:7000-7010\x01");
    settings["ac_control"] = "2";
    settings["fw_services_def"] = repeat(99, "OTHER:tcp:1-2\x01") + "HTTP:both:80-80\x01";
    settings["access_control"] = "0000" + repeat(100, "HTTP\x01");
    settings["qos_enable"] = "1";
    settings["qos_type"] = "p";
    settings["wan_bandwidth"] = "20000";
    settings["qos"] = repeat(20,
                             "1\x02"
                             "0\x02rule\x02"
                             "80\x02"
                             "90\x02"
                             "both\x02"
                             "192.168.1.10\x02"
                             "20\x02"
                             "100\x02"
                             "1\x01");
    return settings;
}

// Keywords of three characters, so that 10,000 fit into one setting of 64 KiB.
Settings with_keywords(int64_t count) {
    Settings settings = basic();
    settings["fw_block"] = "1";
    for (int64_t i = 0; i < count; i++)
        settings["fw_block_keyword"] += format("%03x\x01", static_cast<unsigned>(i % 4096));
    return settings;
}

Settings with_trusted_hosts(int64_t count) {
    Settings settings = basic();
    settings["fw_trustenable"] = "1";
    settings["access_group"] = repeat(count, "00:11:22:33:44:55\x01");
    return settings;
}

size_t create(const std::string& image) {
    Recording played;
    played.world.put(working_copy, image);
    play(played, {"rc", "firewall", "create"});
    return played.world.get("/tmp/rules")->size();
}

double peak_kilobytes(const std::string& image) {
    const pid_t child = fork();
    if (child == 0) _exit(create(image) == 0 ? 1 : 0);
    int status = 0;
    rusage usage = {};
    if (wait4(child, &status, 0, &usage) != child || status != 0) abort();
    return static_cast<double>(usage.ru_maxrss);
}

void run(benchmark::State& state, const Settings& settings) {
    const std::string image = settings_image(settings);
    size_t written = 0;
    while (state.KeepRunning()) written = create(image);
    state.counters["bytes_of_rules"] = static_cast<double>(written);
    state.counters["peak_kB"] = peak_kilobytes(image);
}

void empty_lists(benchmark::State& state) {
    run(state, basic());
}
BENCHMARK(empty_lists);

void lists_at_capacity(benchmark::State& state) {
    run(state, full());
}
BENCHMARK(lists_at_capacity);

void keywords(benchmark::State& state) {
    run(state, with_keywords(state.range(0)));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(keywords)->RangeMultiplier(10)->Range(10, 10'000)->Complexity();

// A setting has room for at most 3,640 of them.
void trusted_hosts(benchmark::State& state) {
    run(state, with_trusted_hosts(state.range(0)));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(trusted_hosts)->Arg(10)->Arg(100)->Arg(1'000)->Arg(3'600)->Complexity();

}  // namespace
