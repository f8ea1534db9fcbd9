// The check of all settings: every part in turn, and what the parts share.
#include "check/check.h"

#include <algorithm>

#include "check/check_parts.h"
#include "core/text.h"
#include "libnvram/secret.h"
#include "settings/areas.h"

namespace nvram {

static std::string shown_value(std::string_view value, bool secret) {
    if (!value.empty() && secret) return "********";
    std::string shown;
    append_escaped(shown, value);
    return shown;
}

static void insert(Check& check, Finding finding) {
    auto place = check.findings.end();
    while (place != check.findings.begin() && (place - 1)->key > finding.key) --place;
    check.findings.insert(place, std::move(finding));
}

void add(Check& check, Level level, std::string_view key, Remark remark, bool secret) {
    Finding finding = {.level = level,
                       .key = std::string(key),
                       .value = shown_value(text_of(check, key), secret || is_secret(key)),
                       .problem = std::move(remark.problem),
                       .effect = std::move(remark.effect),
                       .fix = std::move(remark.fix)};
    insert(check, std::move(finding));
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

bool is_of_firewall(const KnownSetting& known) {
    for (const std::span<const KnownSetting> rows :
         {firewall_settings, forward_settings, block_settings, qos_settings})
        for (const KnownSetting& row : rows)
            if (&row == &known) return true;
    return false;
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

// "entry 3, field host", which a problem may begin with.
static std::string_view place_in(const Finding& finding) {
    const std::string_view problem = finding.problem;
    if (!problem.starts_with("entry ") && !problem.starts_with("field ")) return {};
    return problem.substr(0, problem.find(':'));
}

static bool is_error_at(const Finding& finding, std::string_view place) {
    return finding.level == Level::Error && place_in(finding) == place;
}

// One value's findings. What is wrong with a text's form is often what breaks its line: then only
// the worse of the two is reported.
static void check_value(Check& check, const KnownSetting& known, std::string_view value) {
    Check forms = {.image = check.image, .sinks = check.sinks, .findings = {}};
    Check lines = {.image = check.image, .sinks = check.sinks, .findings = {}};
    check_form(forms, known, value);
    check_sinks(lines, known, value);
    for (const Finding& form : forms.findings) {
        const auto is_worse = [&](const Finding& line) {
            return form.level == Level::Error && is_error_at(line, place_in(form));
        };
        if (std::none_of(lines.findings.begin(), lines.findings.end(), is_worse))
            insert(check, form);
    }
    for (const Finding& line : lines.findings) {
        const auto says_it = [&](const Finding& form) {
            return line.level != Level::Error && is_error_at(form, place_in(line));
        };
        if (std::none_of(forms.findings.begin(), forms.findings.end(), says_it))
            insert(check, line);
    }
}

std::vector<Finding> check_settings(const Image& image, std::span<const Sink> sinks) {
    Check check = {.image = image, .sinks = sinks, .findings = {}};
    for (const SettingGroup& group : setting_groups()) {
        for (const KnownSetting& known : group.settings) {
            const std::optional<std::string_view> value = image.get(known.key);
            if (!value || value->empty()) {
                check_missing(check, known, !value);
                continue;
            }
            check_value(check, known, *value);
        }
    }
    check_unknown_keys(check);
    for (void (*const relation)(Check&) : relations) relation(check);
    return std::move(check.findings);
}

std::vector<Finding> check_settings(const Image& image) {
    return check_settings(image, setting_sinks());
}

}  // namespace nvram
