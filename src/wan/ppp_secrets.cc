// PPP accounts: escaping, and the files of the L2TP client. Writes /tmp/ppp/pap-secrets,
// /tmp/ppp/chap-secrets and /tmp/l2tp/l2tpd.conf.

#include "wan/ppp_secrets.h"

#include <string.h>

#include "core/file.h"

namespace {

void write_secrets(const char* path, const char* title, const std::string& user,
                   const std::string& password) {
    File secrets = open_secret_file(path, "w");
    if (!secrets) return;
    secrets.print("%s\n", title);
    secrets.print("# client\tserver\tsecret\tIP address\n");
    secrets.print("%s\t*\t%s\t*\n", user.c_str(), password.c_str());
}

void write_l2tpd_conf(const std::string& user) {
    File conf = open_file("/tmp/l2tp/l2tpd.conf", "w");
    if (!conf) return;
    conf.print(
        "[global]\n"
        "port = 1701\n"
        "[lac]\n");
    conf.print("lns = %s\n", nvram_text("l2tp_server").text());
    conf.print(
        "defaultroute = yes\n"
        "autodial = yes\n");
    if (nvram_value("l2tp_dod").off()) {
        conf.print("redial = yes\n");
        conf.print("redial timeout = %s\n", nvram_text("l2tp_redial").text());
    }
    conf.print(
        "refuse authentication = yes\n"
        "refuse pap = no\n"
        "refuse chap = no\n");
    conf.print("name = %s\n", user.c_str());
    conf.print("pppoptfile = /tmp/ppp/options\n");
}

}  // namespace

char* add_prefix_slash(const char* in, char* out) {
    for (; *in; in++) {
        if (strchr("\\\"$'`", *in)) *out++ = '\\';
        if (*in == '%') *out++ = '%';
        *out++ = *in;
    }
    *out = '\0';
    return out;
}

std::string specialchar(const Setting& text) {
    std::string escaped(2 * text.view().size() + 1, '\0');
    const char* end = add_prefix_slash(text.text(), escaped.data());
    escaped.resize(static_cast<size_t>(end - escaped.data()));
    return escaped;
}

void update_l2tp_conf() {
    const std::string user = specialchar(nvram_text("l2tp_username"));
    const std::string password = specialchar(nvram_text("l2tp_password"));
    write_secrets("/tmp/ppp/pap-secrets", "# Secrets for authentication using PAP", user, password);
    write_secrets("/tmp/ppp/chap-secrets", "# Secrets for authentication using CHAP", user,
                  password);
    write_l2tpd_conf(user);
}
