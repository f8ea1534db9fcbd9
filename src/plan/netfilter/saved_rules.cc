// Reads saved rules as the calls of iptables that restore them.

#include "plan/netfilter/saved_rules.h"

#include <algorithm>

#include "core/text.h"
#include "plan/netfilter/packet_values.h"
#include "plan/netfilter/rule_reading.h"
#include "plan/router/lines.h"

namespace {

using Place = std::pair<std::string, std::string>;

// The calls of iptables that make a saved table again.
class SavedTable {
  public:
    void read(std::string line);
    const std::vector<ExecutedCommand>& calls() const { return calls_; }
    // The counter of each call that adds a rule.
    const std::vector<std::pair<Place, unsigned long long>>& packets() const { return packets_; }

  private:
    std::string table_;
    std::vector<ExecutedCommand> calls_;
    std::vector<std::pair<Place, unsigned long long>> packets_;

    void call(const std::string& words);
};

void SavedTable::call(const std::string& words) {
    for (ScriptCommand& command : script_commands("iptables -t " + table_ + " " + words + "\n"))
        calls_.push_back({std::move(command), {}});
}

// "*nat", ":PF - [0:0]", ":FORWARD ACCEPT [0:0]", "[12:720] -A FORWARD ...", "COMMIT"
void SavedTable::read(std::string line) {
    if (line.starts_with('*')) table_ = line.substr(1);
    if (table_.empty() || line.size() < 2) return;
    if (line.starts_with(':')) {
        const size_t blank = line.find(' ');
        if (blank == std::string::npos) return;
        const std::string chain = line.substr(1, blank - 1);
        const std::string policy = line.substr(blank + 1, line.find(' ', blank + 1) - blank - 1);
        call(policy == "-" ? "-N " + chain : "-P " + chain + " " + policy);
        return;
    }
    unsigned long long count = 0;
    const bool counted = line.starts_with('[');
    if (counted) {
        count = static_cast<unsigned long long>(
            std::max(0LL, scan_number(line.c_str() + 1).value_or(0)));
        line.erase(0, std::min(line.size(), line.find(' ') + 1));
    }
    if (!line.starts_with("-A ")) return;
    const std::string chain = line.substr(3, line.find(' ', 3) - 3);
    if (counted) packets_.push_back({{table_, chain}, count});
    call(line);
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

std::string target_text(const Rule& rule) {
    const std::string* const to = target_option(rule, "--to");
    if ((rule.target == "DNAT" || rule.target == "SNAT") && to)
        if (const std::optional<Endpoint> end = read_endpoint(*to))
            return rule.target + " " + endpoint_text(end->address, end->port);
    if (rule.target == "MARK")
        for (const char* const name : {"--set-mark", "--set-xmark"})
            if (const std::string* const mark = target_option(rule, name))
                return "MARK " +
                       hexadecimal(read_number(mark->substr(0, mark->find('/')), 0, 0xffffffff)
                                       .value_or(0));
    // What iptables does without the option.
    if (rule.target == "REJECT" && !target_option(rule, "--reject-with"))
        return "REJECT --reject-with icmp-port-unreachable";
    std::string text = rule.target;
    for (size_t i = 0; i < rule.target_options.size(); i++) {
        const std::string& word = rule.target_options[i];
        const bool usual =
            word == "--log-level" && i + 1 < rule.target_options.size() &&
            (rule.target_options[i + 1] == "4" || rule.target_options[i + 1] == "warning");
        if (usual)
            i++;
        else
            text += " " + word;
    }
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

SavedRules read_saved_rules(std::string_view text) {
    SavedTable table;
    for (const std::string_view line : body_lines(text)) table.read(std::string(line));
    SavedRules saved = {.tables = netfilter_after(table.calls()), .packets = {}};
    for (const auto& [place, count] : table.packets()) saved.packets[place].push_back(count);
    return saved;
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
