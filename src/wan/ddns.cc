// Dynamic DNS. Reads /tmp/ddns_update.log; runs ez-ipupdate.

#include "core/command.h"
#include "core/file.h"
#include "core/platform.h"
#include "libnvram/libnvram.h"
#include "wan/wan.h"

namespace {

constexpr const char* client = "/usr/sbin/ez-ipupdate";

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

    const Setting provider = nvram_text("ddns_service_provider");
    const Setting old_provider = nvram_text("ddns_old_service");
    nvram_zel_set("ddns_old_service", provider.text());
    if (nvram_text("ddns_enable").off()) return 0;
    if (client_gave_up()) return 0;

    // The cache contains the registration with the other provider.
    if (!old_provider.empty() && !old_provider.is(provider.view()))
        platform::run_shell("/bin/rm -f /tmp/ddns.cache");

    const Setting user = nvram_text("ddns_user_name");
    const Setting password = nvram_text("ddns_password");
    const Setting host = nvram_text("ddns_host_name");
    const Setting ifname = nvram_text("wan_ifname");
    if (nvram_text("ddns_use_wildcards").off()) {
        SYSTEM("%s -S %s -u '%s:%s' -h %s -i %s -b /tmp/ddns.cache& ", client, provider.text(),
               user.text(), password.text(), host.text(), ifname.text());
        print("%s -S %s -u '%s:%s' -h %s -i %s -b /tmp/ddns.cache& ", client, provider.text(),
              user.text(), password.text(), host.text(), ifname.text());
    } else {
        SYSTEM("%s -S %s -u '%s:%s' -h %s -i %s -w -b /tmp/ddns.cache &", client, provider.text(),
               user.text(), password.text(), host.text(), ifname.text());
    }
    return 0;
}
