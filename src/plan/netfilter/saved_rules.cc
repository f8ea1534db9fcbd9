// Reads saved rules as the calls of iptables that restore them.

#include "plan/netfilter/saved_rules.h"

#include <algorithm>

#include "core/text.h"
#include "plan/netfilter/packet_values.h"
#include "plan/netfilter/rule_reading.h"
#include "plan/router/lines.h"

namespace {

// The words of a saved line. Quotes are iptables' own: a backslash in them makes any character a
// plain one, and nothing else is special.
std::vector<std::string> saved_words(std::string_view line) {
    std::vector<std::string> words;
    bool quoted = false;
    bool in_word = false;
    for (size_t i = 0; i < line.size(); i++) {
        if (line[i] == ' ' && !quoted) {
            in_word = false;
            continue;
        }
        if (!in_word) words.emplace_back();
        in_word = true;
        if (line[i] == '"')
            quoted = !quoted;
        else if (line[i] == '\\' && quoted && i + 1 < line.size())
            words.back() += line[++i];
        else
            words.back() += line[i];
    }
    return words;
}

// "*nat", ":PF - [0:0]", ":FORWARD ACCEPT [0:0]", "[12:720] -A FORWARD ...", "COMMIT"
void read_saved_line(SavedCalls& calls, std::string_view line) {
    if (line.starts_with('*')) calls.begin_table(std::string(line.substr(1)));
    if (!calls.has_table() || line.size() < 2) return;
    std::vector<std::string> words = saved_words(line);
    if (line.starts_with(':')) {
        if (words.size() < 2) return;
        const std::string chain = words[0].substr(1);
        if (words[1] == "-")
            calls.add({"-N", chain});
        else
            calls.add({"-P", chain, words[1]});
        return;
    }
    std::optional<unsigned long long> packets;
    if (line.starts_with('[')) {
        packets = static_cast<unsigned long long>(
            std::max(0LL, scan_number(words[0].c_str() + 1).value_or(0)));
        words.erase(words.begin());
    }
    if (words.size() < 2 || words[0] != "-A") return;
    calls.add_rule(words[1], {words.begin() + 2, words.end()}, packets);
}

std::string hexadecimal(unsigned number) {
    return format("0x%x", number);
}

// A rate in packets a day: "5/s", "5/sec" and "300/minute" are the same.
std::string rate_text(std::string_view rate) {
    const unsigned count = read_number(take_field(rate, '/'), 1, 10000).value_or(0);
    const unsigned seconds = rate.starts_with('m')   ? 60
                             : rate.starts_with('h') ? 3600
                             : rate.starts_with('d') ? 86400
                                                     : 1;
    return std::to_string(count * (86400 / seconds));
}

// "0x20" and "0x20/0xffffffff" are the same.
std::string mark_text(std::string_view mark) {
    const std::optional<unsigned> number = read_number(take_field(mark, '/'), 0, 0xffffffff);
    const unsigned mask = read_number(mark, 0, 0xffffffff).value_or(0xffffffff);
    return "MARK " + hexadecimal(number.value_or(0)) +
           (mask == 0xffffffff ? "" : "/" + hexadecimal(mask));
}

std::string target_text(const Rule& rule) {
    const std::string* const to = target_option(rule, "--to");
    if ((rule.target == "DNAT" || rule.target == "SNAT") && to)
        if (const std::optional<Endpoint> end = read_endpoint(*to))
            return rule.target + " " + endpoint_text(end->address, end->port);
    if (rule.target == "MARK")
        for (const char* const name : {"--set-mark", "--set-xmark"})
            if (const std::string* const mark = target_option(rule, name)) return mark_text(*mark);
    // iptables rejects in this way if the rule does not say how.
    if (rule.target == "REJECT" && !target_option(rule, "--reject-with"))
        return "REJECT --reject-with icmp-port-unreachable";
    std::vector<std::string> options;
    for (size_t i = 0; i < rule.target_options.size(); i++) {
        const std::string& word = rule.target_options[i];
        const bool more = i + 1 < rule.target_options.size();
        if (word == "--clamp-mss-to-pmtu" || !more) {
            options.push_back(word);
            continue;
        }
        const std::string& argument = rule.target_options[++i];
        const bool usual = word == "--log-level" && (argument == "4" || argument == "warning");
        if (!usual) options.push_back(word + " " + argument);
    }
    std::ranges::sort(options);
    std::string text = rule.target;
    for (const std::string& option : options) text += " " + option;
    return text;
}

std::string condition_text(const Condition& condition) {
    const FieldTest& test = condition.test;
    return format("%s%d/%x:%x-%x:", condition.inverted ? "!" : "", static_cast<int>(test.field),
                  test.mask, test.first, test.last) +
           test.text;
}

// A test that holds for every packet.
bool is_empty(const Condition& condition) {
    const FieldTest& test = condition.test;
    return !condition.inverted && test.text.empty() && test.field != Field::WithinLimit &&
           test.field != Field::Drawn && (test.mask == 0 || test.first == 0) &&
           (test.mask == 0 || test.last >= test.mask) && test.field != Field::TcpFlags;
}

}  // namespace

void SavedCalls::add(const std::vector<std::string>& words) {
    ScriptCommand call;
    call.words = {"iptables", "-t", table_};
    call.words.insert(call.words.end(), words.begin(), words.end());
    for (const std::string& word : call.words) call.text += (call.text.empty() ? "" : " ") + word;
    calls_.push_back({std::move(call), {}});
}

void SavedCalls::add_rule(const std::string& chain, const std::vector<std::string>& words,
                          std::optional<unsigned long long> packets) {
    std::vector<std::string> all = {"-A", chain};
    all.insert(all.end(), words.begin(), words.end());
    add(all);
    if (packets) packets_.push_back({{table_, chain}, *packets});
}

SavedRules SavedCalls::carry_out() const {
    SavedRules saved = {.tables = netfilter_after(calls_), .packets = {}};
    for (const auto& [place, count] : packets_) saved.packets[place].push_back(count);
    return saved;
}

SavedRules read_saved_rules(std::string_view text) {
    SavedCalls calls;
    for (const std::string_view line : body_lines(text)) read_saved_line(calls, line);
    return calls.carry_out();
}

std::string canonical_text(const Rule& rule) {
    const RuleReading reading = read_rule(rule);
    if (!reading.unread.empty()) return rule.text();
    std::vector<std::string> parts;
    for (const Condition& condition : reading.conditions)
        if (!is_empty(condition)) parts.push_back(condition_text(condition));
    if (const std::string* const rate = option_of(rule, "--limit"))
        parts.push_back("rate " + rate_text(*rate));
    if (const std::string* const burst = option_of(rule, "--limit-burst"); burst && *burst != "5")
        parts.push_back("burst " + *burst);
    std::ranges::sort(parts);
    std::string text;
    for (const std::string& part : parts) text += part + " ";
    return text + "-> " + target_text(rule);
}

bool same_rules(const Netfilter& one, const Netfilter& other) {
    return std::ranges::equal(one.chains, other.chains, [](const Chain& a, const Chain& b) {
        return a.table == b.table && a.name == b.name && a.policy == b.policy &&
               std::ranges::equal(a.rules, b.rules, {}, canonical_text, canonical_text);
    });
}
