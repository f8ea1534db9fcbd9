// Nothing in rc calls this.

#include "firewall/unused.h"

#include "core/nvram.h"

int get_serv(std::string_view name, Service& service) {
    if (search_serv(nvram_text("fw_services").view(), service, name) == 0) return -1;
    return search_serv(nvram_text("fw_services_def").view(), service, name);
}
