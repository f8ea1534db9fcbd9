// QoS: the line's rate, and rules against it and against the mode.
#include "check/check_parts.h"
#include "core/text.h"
#include "firewall/qos_rules.h"
#include "settings/records.h"

namespace nvram {

namespace {

// rc divides the line's rate into this number of shares.
constexpr int shares = 13;

// rc takes a text that starts with "0" as not given.
bool given(const std::string& text) {
    return !text.starts_with('0');
}

struct Rule {
    std::string place;  // "entry 3"
    const QosRule& rule;
};

void add_rule(Check& check, Level level, const Rule& rule, const std::string& problem,
              const char* effect, const std::string& fix) {
    add(check, level, "qos", {.problem = rule.place + " " + problem, .effect = effect, .fix = fix});
}

void check_mode(Check& check, const Rule& rule, bool by_priority) {
    if (rule.rule.enabled == 0)
        add_rule(check, Level::Warning, rule, "is marked as off",
                 "ignores the mark and applies the rule", "a list without the entry");
    if ((rule.rule.priority == bandwidth_class) != by_priority) return;
    add_rule(check, Level::Warning, rule,
             "has class " + std::to_string(rule.rule.priority) + ", and qos_type is " +
                 (by_priority ? "priority" : "bandwidth"),
             "writes nothing for it",
             by_priority ? "class 0, 1 or 2" : "class " + std::to_string(bandwidth_class));
}

void check_ports(Check& check, const Rule& rule) {
    const QosRule& qos = rule.rule;
    if (!given(qos.first_port) || !given(qos.last_port)) return;
    if (leading_int(qos.first_port) <= leading_int(qos.last_port)) return;
    add_rule(check, Level::Error, rule, "has a first port above its last port",
             "writes the range unchanged, and iptables rejects the rules",
             qos.last_port + " to " + qos.first_port);
}

void check_addresses(Check& check, const Rule& rule) {
    const QosRule& qos = rule.rule;
    const std::optional<std::uint32_t> first = parse_quad(qos.first_address);
    const std::optional<Net> lan = lan_of(check);
    if (!given(qos.first_address) || !first) return;
    if (lan && !lan->has_host(*first))
        add_rule(check, Level::Warning, rule,
                 "is for " + qos.first_address + ", which is not a host on the LAN " + lan->text(),
                 "writes a rule that no packet matches", "a host in " + lan->text());
    if (!given(qos.last_octet) || leading_int(qos.last_octet) >= static_cast<int>(*first & 255))
        return;
    add_rule(check, Level::Error, rule, "has a first address above its last",
             "writes a range that contains no address",
             "a last number of at least " + std::to_string(*first & 255));
}

void check_rate(Check& check, const Rule& rule, bool by_priority) {
    if (by_priority || rule.rule.priority != bandwidth_class) return;
    const int rate = leading_int(rule.rule.rate);
    const int line = number_of(check, "wan_bandwidth");
    if (rate <= 0)
        add_rule(check, Level::Error, rule, "has no rate",
                 "writes a ceiling of 0, which tc rejects", "a rate in kbit/s");
    if (line > 0 && rate > line)
        add_rule(check, Level::Warning, rule,
                 "has a rate of " + std::to_string(rate) +
                     ", more than wan_bandwidth=" + std::to_string(line),
                 "writes a ceiling that is never reached", "a rate up to " + std::to_string(line));
}

void check_interface(Check& check, const char* key) {
    constexpr std::size_t kept = 10;
    const std::string_view name = text_of(check, key);
    if (name.size() <= kept) return;
    add(check, Level::Error, key,
        {.problem = "has " + std::to_string(name.size()) + " characters, but QoS keeps " +
                    std::to_string(kept),
         .effect = "shapes " + quoted(name.substr(0, kept)) + ", which does not exist",
         .fix = "a name of at most " + std::to_string(kept) + " characters"});
}

void check_rules(Check& check) {
    const bool by_priority = begins_with(check, "qos_type", 'p');
    QosTable table;
    const int count = parse_qos_rules(text_of(check, "qos"), table);
    for (int i = 0; i < count; ++i) {
        const Rule rule = {.place = place_text(static_cast<unsigned>(i + 1), nullptr),
                           .rule = table[static_cast<std::size_t>(i)]};
        if (rule.rule.name.empty()) {
            if (i + 1 < count)
                add_rule(check, Level::Error, rule, "has no name",
                         "reads it as the end of the list and uses no later entry",
                         "a name in the third field");
            return;
        }
        check_mode(check, rule, by_priority);
        check_ports(check, rule);
        check_addresses(check, rule);
        check_rate(check, rule, by_priority);
    }
}

}  // namespace

void check_qos(Check& check) {
    if (!is_on(check, "qos_enable") || is_on(check, "ap_mode")) return;
    const int line = number_of(check, "wan_bandwidth");
    if (line > 0 && line < shares)
        add(check, Level::Error, "wan_bandwidth",
            {.problem = "is too low to be shared",
             .effect = "gives each class a thirteenth of it, which is 0, and tc rejects that",
             .fix = "wan_bandwidth=2000"});
    check_interface(check, "lan_if");
    check_interface(check, "wan_ifname");
    check_rules(check);
}

}  // namespace nvram
