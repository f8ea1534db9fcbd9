// Rows of the table of all settings: dynamic DNS.
#include "settings/areas.h"

namespace nvram {

static constexpr Need with_ddns = {.when = if_begins_not("ddns_enable", "0")};

static constexpr KnownSetting ddns_rows[] = {
    // Only a first character of 0 is off, here and for the wildcards.
    {.key = "ddns_enable",
     .form = Form::Flag,
     .factory = "0",
     .when_empty = "dynamic DNS is on",
     .when_wrong = "treats it as on: only a value that starts with 0 is off",
     .help = "the WAN's address is registered with a dynamic DNS provider (1) or not (0)"},
    {.key = "ddns_service_provider",
     .form = Form::Text,
     .may_be_empty = true,
     .example = "dyndns",
     .when_empty = "the client reads its next option as the provider",
     .needed = &with_ddns,
     .help = "provider's name, as the client ez-ipupdate expects it (its option -S)"},
    {.key = "ddns_old_service",
     .form = Form::Text,
     .may_be_empty = true,
     .when_empty = "the client's cache is kept",
     .help =
         "provider of the previous run; rc sets it and clears the client's cache when it changes"},
    {.key = "ddns_user_name",
     .form = Form::Text,
     .may_be_empty = true,
     .example = "name",
     .when_empty = "the client gets an empty name",
     .needed = &with_ddns,
     .help = "user name at the provider; must not contain a colon, which would start the password"},
    {.key = "ddns_password",
     .form = Form::Text,
     .may_be_empty = true,
     .secret = true,
     .example = "...",
     .when_empty = "the client gets an empty password",
     .needed = &with_ddns,
     .help = "password at the provider"},
    {.key = "ddns_host_name",
     .form = Form::Host,
     .may_be_empty = true,
     .example = "router.example.com",
     .when_empty = "the client reads its next option as the host name",
     .needed = &with_ddns,
     .help = "host name to register"},
    {.key = "ddns_use_wildcards",
     .form = Form::Flag,
     .factory = "0",
     .when_empty = "subdomains of the host name are registered too",
     .when_wrong = "treats it as on: only a value that starts with 0 is off",
     .help = "subdomains of the host name resolve to the same address (1) or not (0)"},
};
constexpr std::span<const KnownSetting> ddns_settings = ddns_rows;

}  // namespace nvram
