// Rows of the table of all settings: dynamic DNS.
#include "settings/areas.h"

namespace nvram {

static constexpr KnownSetting ddns_rows[] = {
    // Only a first character of 0 is off, here and for the wildcards.
    {.key = "ddns_enable",
     .form = Form::Flag,
     .factory = "0",
     .when_empty = "dynamic DNS is on",
     .help = "the WAN's address is registered with a dynamic DNS provider (1) or not (0)"},
    {.key = "ddns_service_provider",
     .form = Form::Text,
     .may_be_empty = true,
     .when_empty = "the client takes its next option for the provider",
     .help = "provider, by the name that the client ez-ipupdate knows it by (its option -S)"},
    {.key = "ddns_old_service",
     .form = Form::Text,
     .may_be_empty = true,
     .when_empty = "the client's cache is kept",
     .help =
         "provider of the run before; rc sets it, and clears the client's cache when it changes"},
    {.key = "ddns_user_name",
     .form = Form::Text,
     .may_be_empty = true,
     .when_empty = "the client gets an empty name",
     .help =
         "name of the account at the provider; without a colon, which would begin the password"},
    {.key = "ddns_password",
     .form = Form::Text,
     .may_be_empty = true,
     .secret = true,
     .when_empty = "the client gets an empty password",
     .help = "password of the account at the provider"},
    {.key = "ddns_host_name",
     .form = Form::Host,
     .may_be_empty = true,
     .when_empty = "the client takes its next option for the name",
     .help = "host name that is registered"},
    {.key = "ddns_use_wildcards",
     .form = Form::Flag,
     .factory = "0",
     .when_empty = "names below the host name are registered too",
     .help = "names below the host name lead to the same address (1) or not (0)"},
};
constexpr std::span<const KnownSetting> ddns_settings = ddns_rows;

}  // namespace nvram
