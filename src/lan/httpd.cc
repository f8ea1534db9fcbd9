// The web server. Writes /tmp/htpasswd; runs mini_httpd.

#include "core/command.h"
#include "core/file.h"
#include "core/limits.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/text.h"
#include "lan/lan.h"

namespace {

// The realm shown in the login prompt. One made from the device's name also tells the DSL line's
// type, which the firmware image states in the first character of /etc/version-ft.
std::string login_realm(std::string_view device_name, std::string_view own_realm) {
    if (!own_realm.empty()) return std::string(cut(own_realm, limits::login_realm));

    std::string realm(cut(device_name, limits::login_realm));
    if (File line_type = open_file("/etc/version-ft", "r")) {
        unsigned char type[1] = {};
        line_type.read(type);
        realm += type[0] == 'b' || type[0] == 'B' ? "(ANNEX B)" : "(ANNEX A)";
    }
    return std::string(cut(realm, limits::login_realm));
}

}  // namespace

int create_httpd_cfg() {
    const Setting password = nvram_value("http_password");
    if (password.empty()) {
        // Without the file the server asks for no login.
        platform::remove_file("/tmp/htpasswd");
        return 0;
    }
    // Readable by everybody: the server gives up root before it reads the file.
    File passwords = open_file("/tmp/htpasswd", "w");
    if (passwords) passwords.print("%s:%s\n", nvram_text("http_username").text(), password.text());
    return 0;
}

int start_httpd() {
    const Setting device_name = nvram_text("device_name");
    create_httpd_cfg();
    const std::string realm = login_realm(device_name.view(), nvram_text("http_realm").view());

    const long long timeout_seconds = nvram_text("http_timeout").number() * 60LL;
    SYSTEM("/usr/sbin/mini_httpd -d /usr/www -r \"%s\" -c '*.cgi' -t %lld&", realm.c_str(),
           timeout_seconds);
    return 0;
}

int stop_httpd() {
    platform::run_shell("/usr/bin/killall mini_httpd");
    return 0;
}
