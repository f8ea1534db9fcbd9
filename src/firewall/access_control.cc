// Access control: services on the WAN that the LAN may not use. Chains BLOCK, ACL_BLOCK and
// OUT_FILTER.

#include "core/nvram.h"
#include "firewall/block_lists.h"
#include "firewall/firewall.h"
#include "firewall/rules.h"
#include "firewall/services.h"
#include "sched/sched.h"

namespace {

// Read together before the first rule.
struct AccessSettings {
    int control = nvram_text("ac_control").number();
    bool by_schedule = nvram_text("ac_sch").number() == 1;
    Setting list = nvram_text("access_control");
    Setting predefined = nvram_text("fw_services_def");
    Setting own = nvram_text("fw_services");
    Setting lan_if = nvram_text("lan_if");
    Setting lan_address = nvram_text("lan_ipaddr");
};

void block_service(const Setting& lan_if, const Service& service) {
    if (service.protocol == "both" || service.protocol == "any") {
        for (const char* protocol : {"tcp", "udp"})
            fw_rule("-A OUT_FILTER   -i %s -p %s --dport %d:%d -j ACL_BLOCK", lan_if.text(),
                    protocol, service.first_port, service.last_port);
        return;
    }
    fw_rule("-A OUT_FILTER   -i %s -p %s --dport %d:%d -j ACL_BLOCK", lan_if.text(),
            service.protocol.c_str(), service.first_port, service.last_port);
}

// The first unknown name ends the list; the names after it are ignored.
void block_services(const AccessSettings& access) {
    const std::vector<ServiceRecord> predefined = parse_services(access.predefined.view());
    const std::vector<ServiceRecord> own = parse_services(access.own.view());
    for (const std::string_view name : parse_blocked_services(access.list.view())) {
        Service service;
        if (search_serv(predefined, service, name) != 0 && search_serv(own, service, name) != 0)
            return;
        block_service(access.lan_if, service);
    }
}

}  // namespace

void fw_access_control() {
    const AccessSettings access;
    fw_rule("-A BLOCK -j DROP");
    fw_rule("-A ACL_BLOCK -j DROP");
    const char schedule = schedule_character();
    fw_rule("-A OUT_FILTER -s %s  -p all -j ACCEPT", access.lan_address.text());

    const bool in_force = schedule >= '1' && schedule <= '9';
    if (!in_force && access.by_schedule) return;
    if (access.control == 1)
        fw_rule("-A OUT_FILTER  -i %s -p all -j ACL_BLOCK", access.lan_if.text());
    if (access.control == 2) block_services(access);
}
