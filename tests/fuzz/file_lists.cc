// Properties of the lease file, the board's flash and the small files that rc reads.

#include <limits.h>
#include <string.h>

#include <algorithm>

#include "core/file.h"
#include "core/limits.h"
#include "core/run_markers.h"
#include "core/text.h"
#include "expect.h"
#include "lan/reservations.h"
#include "lists.h"
#include "plan/router/recording.h"
#include "plan/router/settings.h"
#include "rc/factory_data.h"
#include "rc/unused.h"

namespace {

constexpr HardwareAddress client = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
constexpr Octets wanted = {192, 168, 1, 50};
constexpr Octets own = {192, 168, 1, 1};

Leases leases_in(std::string_view bytes) {
    Leases leases;
    leases.count = std::min(bytes.size() / lease_size, limits::leases);
    memcpy(leases.records.data(), bytes.data(), leases.count * lease_size);
    return leases;
}

bool same(const Lease& one, const Lease& other) {
    return memcmp(&one, &other, lease_size) == 0;
}

// A router with this file, as long as this object lives.
class RouterWith {
  public:
    RouterWith(const char* path, std::string_view content) : playing_(recording_) {
        recording_.world.put(path, std::string(content));
        recording_.world.put(working_copy,
                             "dhcp_end_ip=192.168.1.254\ndhcp_start_ip=192.168.1.2\n"
                             "lan_ipaddr=192.168.1.1\n");
    }
    const World& world() const { return recording_.world; }
    const std::vector<Event>& events() const { return recording_.transcript.events(); }

  private:
    Recording recording_;
    Playing playing_;
};

void expect_lease_file(std::string_view bytes) {
    const RouterWith router(lease_file, bytes);
    change_lease();
    dhcp_write_leases("host;192.168.1.50;00:11:22:33:44:55");
    const std::string* written = router.world().get(lease_file);
    expect(written && written->size() % lease_size == 0, "the lease file is made of records");
    expect(written->size() <= (limits::leases + 1) * lease_size, "the lease file is bounded");
    const Leases leases = leases_in(*written);
    const bool listed = std::ranges::any_of(leases.view(), [](const Lease& lease) {
        return lease.hardware == client && lease.address == wanted;
    });
    expect(listed || leases.count == limits::leases, "the reservation is in the lease file");
}

void expect_flash(std::string_view bytes) {
    // The partition before the data is long, and bytes after the data are not read.
    constexpr size_t longest = 160;
    if (bytes.size() > longest || bytes.size() % 16 != 0) return;
    constexpr size_t pin_offset = 0x2FF70;
    const RouterWith router("/dev/mtd0", std::string(pin_offset, '\0') + std::string(bytes));
    const std::optional<FactoryData> data = read_factory_data("/dev/mtd0");
    constexpr size_t needed = 0x2FFAA + 70 - pin_offset;
    expect(data.has_value() == (bytes.size() >= needed), "factory data are complete or absent");
    if (!data) return;
    expect(data->wps_pin.size() <= 8, "a PIN has at most 8 digits");
    expect(memcmp(data->base_mac.data(), bytes.data() + 0x30, 6) == 0,
           "the MAC address is read from its offset");
    expect(mac_text(data->base_mac, 0).size() == 17, "a MAC address has 17 characters");
}

}  // namespace

void expect_reservation(const std::string& text) {
    const std::optional<Reservation> reservation = parse_reservation(text);
    if (!reservation) return;
    expect(text.starts_with(reservation->hostname + ";"), "a reservation begins with the host");
    for (size_t i = 6; i < reservation->hardware.size(); i++)
        expect(reservation->hardware[i] == 0, "zero bytes follow a MAC address");
}

void expect_leases(std::string_view bytes) {
    const Leases listed_before = leases_in(bytes);
    Leases leases = listed_before;
    enter_reservation(leases, "host", client, wanted, own);
    const Leases listed_after = leases;
    const std::span<const Lease> before = listed_before.view();
    const std::span<const Lease> after = listed_after.view();
    expect(after.size() <= before.size() + 1 && !after.empty(), "at most one record is added");
    bool listed = false;
    for (size_t i = 0; i < after.size(); i++) {
        const Lease& lease = after[i];
        expect(lease.address != Octets{}, "no record ends the list early");
        if (lease.hardware == client) {
            listed = true;
            expect(lease.address == wanted && lease.seconds() == reservation_seconds,
                   "the client has the address for a year");
        } else {
            expect(i < before.size() && lease.address == before[i].address &&
                       lease.hardware == before[i].hardware && lease.hostname == before[i].hostname,
                   "another client's record keeps its place");
            expect((lease.address != wanted && lease.address != own) || lease.seconds() == 0,
                   "no other client has the address");
        }
    }
    expect(listed, "the client has a record");
    enter_reservation(leases, "host", client, wanted, own);
    expect(std::ranges::equal(after, leases.view(), same),
           "the same reservation again changes nothing");
}

void expect_small_files(std::string_view bytes) {
    expect_lease_file(bytes);
    expect_flash(bytes);
    {
        const RouterWith router("/var/run/my_pid_wan", bytes);
        replace_older_run("/var/run/my_pid_wan");
        for (const Event& event : router.events())
            if (event.verb == "signal")
                expect(leading_int(event.text.substr(event.text.rfind(' '))) > 1,
                       "only one process is signalled");
        expect(*router.world().get("/var/run/my_pid_wan") == "1000",
               "the PID file has the run's own id");
    }
    for (const char* path : {"/proc/uptime", "/var/run/rc.lan.run"}) {
        const RouterWith router(path, bytes);
        const int busy = rc_add_running("lan");
        expect(busy == 0 || busy == 1, "the result is 0 or 1");
    }
    {
        const RouterWith router("/proc/ticfg/env", bytes);
        expect(set_boot_environment("bootloader", "1.0") == 0, "the environment can be opened");
        const std::string* after = router.world().get("/proc/ticfg/env");
        expect(*after == bytes || after->starts_with("bootloader 1.0\n"),
               "the variable is written or was present");
    }
    const RouterWith router("/etc/resolv.conf", bytes);
    File file = open_file("/etc/resolv.conf", "r");
    char line[128];
    size_t lines = 0;
    while (file.read_line(line)) {
        expect(strlen(line) < sizeof line, "a line fits its buffer");
        expect(++lines <= bytes.size() + 1, "reading lines ends");
    }
}
