// Dynamic DNS. Reads /tmp/ddns_update.log; runs ez-ipupdate.

#include "core/command.h"
#include "core/file.h"
#include "core/platform.h"
#include "libnvram/libnvram.h"
#include "wan/wan.h"

namespace {

constexpr const char* client = "/usr/sbin/ez-ipupdate";

// Read together once the old client has ended: the account that is compared is the account that is
// registered.
struct DdnsSettings {
    bool off = nvram_text("ddns_enable").off();
    Setting provider = nvram_text("ddns_service_provider");
    Setting old_provider = nvram_text("ddns_old_service");
    Setting user = nvram_text("ddns_user_name");
    Setting password = nvram_text("ddns_password");
    Setting host = nvram_text("ddns_host_name");
    bool wildcards = !nvram_text("ddns_use_wildcards").off();
    Setting ifname = nvram_text("wan_ifname");
};

// True if the client's last status is one after which it must not try again.
bool client_gave_up() {
    File log = open_file("/tmp/ddns_update.log", "r");
    if (!log) return false;
    const long long status = log.read_number().value_or(0);
    return status == 9 || (status >= 14 && status <= 16);
}

}  // namespace

int start_ddns_update() {
    platform::run_shell("killall /usr/sbin/ez-ipupdate");

    const DdnsSettings ddns;
    nvram_zel_set("ddns_old_service", ddns.provider.text());
    if (ddns.off) return 0;
    if (client_gave_up()) return 0;

    // The cache contains the registration with the other provider.
    if (!ddns.old_provider.empty() && !ddns.old_provider.is(ddns.provider.view()))
        platform::run_shell("/bin/rm -f /tmp/ddns.cache");

    if (ddns.wildcards) {
        SYSTEM("%s -S %s -u '%s:%s' -h %s -i %s -w -b /tmp/ddns.cache &", client,
               ddns.provider.text(), ddns.user.text(), ddns.password.text(), ddns.host.text(),
               ddns.ifname.text());
        return 0;
    }
    SYSTEM("%s -S %s -u '%s:%s' -h %s -i %s -b /tmp/ddns.cache& ", client, ddns.provider.text(),
           ddns.user.text(), ddns.password.text(), ddns.host.text(), ddns.ifname.text());
    print("%s -S %s -u '%s:%s' -h %s -i %s -b /tmp/ddns.cache& ", client, ddns.provider.text(),
          ddns.user.text(), ddns.password.text(), ddns.host.text(), ddns.ifname.text());
    return 0;
}
