// The check of all settings: every part in turn, and what the parts share.
#include "check/check.h"

#include "check/check_parts.h"
#include "core/text.h"
#include "libnvram/secret.h"

namespace nvram {

static std::string shown_value(std::string_view value, bool secret) {
    if (!value.empty() && secret) return "********";
    std::string shown;
    append_escaped(shown, value);
    return shown;
}

void add(Check& check, Level level, std::string_view key, Remark remark, bool secret) {
    auto place = check.findings.end();
    while (place != check.findings.begin() && (place - 1)->key > key) --place;
    Finding finding = {.level = level,
                       .key = std::string(key),
                       .value = shown_value(text_of(check, key), secret || is_secret(key)),
                       .problem = std::move(remark.problem),
                       .effect = std::move(remark.effect),
                       .fix = std::move(remark.fix)};
    check.findings.insert(place, std::move(finding));
}

std::string_view text_of(const Check& check, std::string_view key) {
    return check.image.get(key).value_or("");
}

bool begins_with(const Check& check, std::string_view key, char first) {
    return text_of(check, key).starts_with(first);
}

bool is_on(const Check& check, std::string_view key) {
    return begins_with(check, key, '1');
}

int number_of(const Check& check, std::string_view key) {
    return leading_int(text_of(check, key));
}

std::optional<std::uint32_t> address_of(const Check& check, std::string_view key) {
    const std::optional<std::uint32_t> address = parse_quad(text_of(check, key));
    return address == 0U ? std::nullopt : address;
}

bool is_missing(const Check& check, std::string_view key) {
    const std::string_view text = text_of(check, key);
    return text.empty() || text == "0.0.0.0";
}

std::optional<Net> lan_of(const Check& check) {
    return parse_net(text_of(check, "lan_ipaddr"), text_of(check, "lan_netmask"));
}

std::string assignment(std::string_view key, std::string_view value) {
    std::string text(key);
    text += '=';
    append_escaped(text, value);
    return text;
}

std::string escaped(std::string_view text) {
    std::string line;
    append_escaped(line, text);
    return line;
}

std::string quoted(std::string_view text) {
    return "'" + escaped(text) + "'";
}

static constexpr void (*relations[])(Check&) = {
    check_needs,    check_lan,         check_services,   check_wan,
    check_firewall, check_forwards,    check_qos,        check_schedules,
    check_wireless, check_wds_and_wps, check_duplicates,
};

std::vector<Finding> check_settings(const Image& image, std::span<const Sink> sinks) {
    Check check = {.image = image, .sinks = sinks, .findings = {}};
    for (const SettingGroup& group : setting_groups()) {
        for (const KnownSetting& known : group.settings) {
            const std::optional<std::string_view> value = image.get(known.key);
            if (!value || value->empty()) {
                check_missing(check, known, !value);
                continue;
            }
            check_form(check, known, *value);
            check_sinks(check, known, *value);
        }
    }
    for (const Entry& entry : image.entries())
        if (find_known(entry.key) == nullptr) check_unknown(check, entry.key);
    for (void (*const relation)(Check&) : relations) relation(check);
    return std::move(check.findings);
}

std::vector<Finding> check_settings(const Image& image) {
    return check_settings(image, setting_sinks());
}

}  // namespace nvram
