// Special applications: port triggering by a kernel module. Writes /tmp/pnat.

#include "core/file.h"
#include "core/ipv4.h"
#include "core/nvram.h"
#include "firewall/firewall.h"
#include "firewall/trigger_lists.h"

namespace {

// The number as the module expects it: network byte order, read in the processor's own.
unsigned address_number(const Setting& text) {
    return scan_address(text.text()).value_or(in_addr{}).s_addr;
}

}  // namespace

void fw_special_apps() {
    const TriggerLists lists = parse_triggers(nvram_text("fw_spapp").view());
    File script = open_file("/tmp/pnat", "w");
    if (!script) return;
    script.print("rmmod ip_conntrack_pt\n");
    script.print(
        "insmod /lib/modules/ip_conntrack_pt.ko outport=%s inport=%s entries=%d lanmask=%u"
        " lan_ipaddr=%u \n",
        lists.outport.c_str(), lists.inport.c_str(), lists.entries,
        address_number(nvram_text("lan_netmask")), address_number(nvram_text("lan_ipaddr")));
}
