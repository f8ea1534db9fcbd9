// Access control: services on the WAN that the LAN may not use. Chains BLOCK, ACL_BLOCK and
// OUT_FILTER.

#include "core/nvram.h"
#include "firewall/block_lists.h"
#include "firewall/firewall.h"
#include "firewall/rules.h"
#include "firewall/services.h"
#include "sched/sched.h"

namespace {

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
void block_services(const Setting& lan_if, const std::vector<std::string_view>& names) {
    const Setting predefined_table = nvram_text("fw_services_def");
    const Setting own_table = nvram_text("fw_services");
    const std::vector<ServiceRecord> predefined = parse_services(predefined_table.view());
    const std::vector<ServiceRecord> own = parse_services(own_table.view());
    for (const std::string_view name : names) {
        Service service;
        if (search_serv(predefined, service, name) != 0 && search_serv(own, service, name) != 0)
            return;
        block_service(lan_if, service);
    }
}

}  // namespace

void fw_access_control() {
    fw_rule("-A BLOCK -j DROP");
    fw_rule("-A ACL_BLOCK -j DROP");
    fw_rule("-A OUT_FILTER -s %s  -p all -j ACCEPT", nvram_text("lan_ipaddr").text());

    const char schedule = schedule_character();
    const bool in_force = schedule >= '1' && schedule <= '9';
    if (!in_force && nvram_text("ac_sch").number() == 1) return;

    const int control = nvram_text("ac_control").number();
    const Setting lan_if = nvram_text("lan_if");
    if (control == 1) fw_rule("-A OUT_FILTER  -i %s -p all -j ACL_BLOCK", lan_if.text());
    const Setting list = nvram_text("access_control");
    if (control == 2) block_services(lan_if, parse_blocked_services(list.view()));
}
