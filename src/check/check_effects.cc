// What rc does with a value that is not of its setting's form.
#include "check/check_parts.h"
#include "core/text.h"
#include "libnvram/secret.h"

namespace nvram {

namespace {

struct Effect {
    const char* key;
    const char* text;
};

// Settings whose wrong value changes what rc does; of the others, what the form or the lines tell.
constexpr Effect effects[] = {
    {"ac_control", "takes a number of 1 or 2, and anything else for off"},
    {"ac_sch", "takes a number of 1 for by schedule, anything else for always"},
    {"access_control", "stops at the first name that it does not know"},
    {"access_group", "takes 17 characters from the start of each record, whatever they are"},
    {"bpa_login", "takes it as not logged in, unless its number is 1"},
    {"ddns_enable", "takes it as on: only a value that begins with 0 is off"},
    {"ddns_use_wildcards", "takes it as on: only a value that begins with 0 is off"},
    {"dhcp_server_enable", "neither starts the DHCP server nor deletes its leases"},
    {"dhcp_server_extended_option", "takes it as off: only enable is on"},
    {"fw_block", "looks at its first character: 1 is always, 2 by schedule, any other off"},
    {"fw_in_rules", "writes the field into the rules as it stands, and iptables refuses them"},
    {"fw_nat", "rewrites addresses, and leaves FORWARD open: hosts of the WAN reach the LAN"},
    {"fw_out_rules", "writes the field into the rules as it stands, and iptables refuses them"},
    {"fw_remote_type", "opens the web interface's port, and redirects nothing to it"},
    {"fw_schedule", "never opens a period that it cannot read, or whose day or hour there is not"},
    {"fw_schedule2", "never opens a period that it cannot read, or whose day or hour there is not"},
    {"fw_services", "does not find the service, or blocks other ports than are meant"},
    {"fw_services_def", "does not find the service, or blocks other ports than are meant"},
    {"fw_spapp",
     "hands the field to the kernel module as it stands; another word than tcp, udp or"
     " both takes the protocol of the entry before"},
    {"fw_time_zone", "finds no rule, and never applies daylight saving"},
    {"fw_ttl", "leaves the TTL alone"},
    {"h_wsc_enable", "turns WPS off at the start, and leaves it running at the stop"},
    {"igmp_port", "makes the name wan_ifname with its first character"},
    {"l2tp_dod", "neither dials on demand nor redials"},
    {"l2tp_type", "takes a number of 1 for fixed, anything else for leased"},
    {"log_type",
     "sends the log to the LAN when it begins with 1, to log_remote_ip with 2, else nowhere"},
    {"mail_sendlog", "mails no log"},
    {"ntp_custom", "takes it as on, and asks the server of ntp_server"},
    {"pcdb_list", "leaves the reservation out"},
    {"pptp_server_type", "takes pptp_server, as if it were i"},
    {"pptp_type", "takes a number of 1 for fixed, anything else for leased"},
    {"qos",
     "copies the field into /tmp/qos.conf as it stands, and tc or iptables refuses its line"},
    {"qos_ds", "takes it as on: only disable is off"},
    {"qos_type", "takes a word that begins with p for priority, any other for bandwidth"},
    {"ras_login", "takes it as not logged in, unless its number is 1"},
    {"rt_rip_direction", "receives and sends"},
    {"rt_static_route", "adds no route, or hands route what it refuses"},
    {"time_zone", "prints TimeZone string Error, and counts no offset"},
    {"wan_dod", "takes any number but 0 for dialling on demand, and a text for 0"},
    {"wan_fix_dns",
     "looks for exactly 1, for a number but 0, or for a first character of 1, by the mode"},
    {"wan_iptype_pppoe", "takes a word that begins with F for Fixed, any other for Dynamic"},
    {"wan_line", "takes some of it for the radio when it holds wisp, and the wired port else"},
    {"wan_mode", "starts no connection at all"},
    {"wifi_BasicRate", "takes the rates of 0"},
    {"wifi_access_control", "lets everybody in"},
    {"wifi_access_list", "takes 17 characters from the start of each record, whatever they are"},
    {"wifi_auth_type", "lets the driver find out (WEPAUTO)"},
    {"wifi_auth_type2", "lets the driver find out (WEPAUTO)"},
    {"wifi_auth_type3", "lets the driver find out (WEPAUTO)"},
    {"wifi_auth_type5", "lets the driver find out (WEPAUTO)"},
    {"wifi_bandwidth", "takes 40 MHz: only a value that begins with 2 is 20 MHz"},
    {"wifi_dot11_mode",
     "looks at its first character, and takes 802.11b, g and n for what it does not know"},
    {"wifi_key_len", "takes the WEP keys for hexadecimal"},
    {"wifi_key_len2", "takes the WEP keys for hexadecimal"},
    {"wifi_region", "takes Taiwan's country code"},
    {"wifi_sta_region", "takes the channels of all regions but USA and Canada"},
    {"wifi_wep_on", "takes its number: of a text that is 0, an open network; above 6 it is as 4"},
    {"wifi_wep_on2", "takes its number: of a text that is 0, an open network; above 6 it is as 4"},
    {"wifi_wep_on3", "gives the station neither network nor security"},
    {"wifi_wep_on5", "takes WPA2 with a pass phrase, as if it were 3"},
    {"wifi_wmm_ap", "takes 0 for the numbers that it cannot read"},
    {"wifi_wmm_sta", "takes 0 for the numbers that it cannot read"},
    {"wifi_wsc_configured", "hands the driver its number plus one"},
    {"wireless_sch_en", "takes it as off: only enable is on"},
    {"wl_schedule", "passes over a record that it cannot read, and gives cron any number"},
};

// Programs that refuse a line with a number, an address or a name that is none.
constexpr std::string_view strict_programs[] = {"ifconfig", "insmod", "iptables", "route", "tc"};

std::string_view strict_program(std::string_view line) {
    std::string_view word = line.substr(0, line.find(' '));
    word.remove_prefix(word.rfind('/') + 1);  // npos + 1 is 0
    for (const std::string_view program : strict_programs)
        if (word == program) return program;
    return {};
}

std::string effect_in_line(const KnownSetting& known, const Sink& sink, std::string_view piece) {
    const std::string line = line_with(sink, shown_piece(known, piece));
    const std::string_view place = sink.place;
    std::string text = place == "command"
                           ? "puts it as it stands into a command, "
                           : "writes it as it stands into " + std::string(place) + ", ";
    text += line;
    // What a shell takes apart does not reach the program as it is.
    const bool whole = piece.find_first_of(" \t\n;&|<>()$`\\\"'") == std::string_view::npos;
    const std::string_view program = strict_program(sink.line);
    if (whole && !program.empty()) text += "; " + std::string(program) + " refuses it";
    return text;
}

std::string effect_by_form(const KnownSetting& known, std::string_view piece) {
    switch (is_secret(known.key) ? Form::Text : known.form) {
        case Form::Flag:
            return "takes it as off: only a value that begins with 1 is on";
        case Form::Number:
            return "reads it as " + std::to_string(leading_int(piece));
        case Form::Choice:
            return "hands it on as it stands";
        default:
            return "uses it as it stands";
    }
}

// A backslash stays one, as a shell sees it.
void append_visible(std::string& out, std::string_view text) {
    for (const char c : text) {
        if (c == '\\')
            out += c;
        else
            append_escaped(out, {&c, 1});
    }
}

}  // namespace

std::string_view shown_piece(const KnownSetting& known, std::string_view piece) {
    return is_secret(known.key) ? "********" : piece;
}

bool stands_alone(const Sink& sink) {
    constexpr std::string_view ends = " \t\"'=&;>";
    const std::string_view line = sink.line;
    const std::size_t at = line.find('\x01');
    if (at == std::string_view::npos) return false;
    const bool begins = at == 0 || ends.find(line[at - 1]) != std::string_view::npos;
    return begins && (at + 1 == line.size() || ends.find(line[at + 1]) != std::string_view::npos);
}

std::string line_with(const Sink& sink, std::string_view text) {
    std::string_view line = sink.line;
    while (line.ends_with('\n')) line.remove_suffix(1);
    std::string whole;
    for (const char c : line) {
        if (c == '\x01') {
            append_visible(whole, text);
        } else {
            whole += c;
        }
    }
    return whole;
}

std::string effect_of_wrong(const Check& check, const KnownSetting& known, std::string_view piece) {
    for (const Effect& effect : effects)
        if (effect.key == std::string_view(known.key)) return effect.text;
    const Sink* example = nullptr;
    for (const Sink& sink : check.sinks) {
        if (sink.key != std::string_view(known.key)) continue;
        if (example == nullptr || (stands_alone(sink) && !stands_alone(*example))) example = &sink;
    }
    return example != nullptr ? effect_in_line(known, *example, piece)
                              : effect_by_form(known, piece);
}

}  // namespace nvram
