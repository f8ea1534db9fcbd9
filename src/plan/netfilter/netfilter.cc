// Simulates iptables over tables in memory: chains, policies and the order of rules, but not their
// matches.

#include "plan/netfilter/netfilter.h"

#include <algorithm>

#include "core/text.h"
#include "plan/netfilter/rule_reading.h"

namespace {

struct BuiltIn {
    std::string_view table;
    std::string_view chain;
};
constexpr BuiltIn built_in_chains[] = {
    {"filter", "INPUT"},    {"filter", "FORWARD"}, {"filter", "OUTPUT"},      {"nat", "PREROUTING"},
    {"nat", "POSTROUTING"}, {"nat", "OUTPUT"},     {"mangle", "PREROUTING"},  {"mangle", "INPUT"},
    {"mangle", "FORWARD"},  {"mangle", "OUTPUT"},  {"mangle", "POSTROUTING"},
};

// The targets in rc's rules, and the only table in which each is valid, if any.
struct Target {
    std::string_view name;
    std::string_view table;
};
constexpr Target targets[] = {
    {"ACCEPT", ""},       {"DROP", ""},       {"RETURN", ""},        {"LOG", ""},
    {"TCPMSS", ""},       {"DNAT", "nat"},    {"MASQUERADE", "nat"}, {"SNAT", "nat"},
    {"REJECT", "filter"}, {"MARK", "mangle"}, {"TTL", "mangle"},
};

// One call of iptables.
struct Call {
    std::string table = "filter";
    char command = '\0';  // the letter of -A, -D, -F, -I, -N, -P, -X
    std::string chain;
    // Of -I and -D: the rule's number, from 1.
    std::optional<size_t> number;
    std::string policy;
    Rule rule;
};

struct Refusal {
    std::string reason;
    bool unread = false;
};

struct CommandOption {
    std::string_view short_name;
    std::string_view long_name;
};
constexpr CommandOption command_options[] = {
    {"-A", "--append"},    {"-D", "--delete"}, {"-F", "--flush"},        {"-I", "--insert"},
    {"-N", "--new-chain"}, {"-P", "--policy"}, {"-X", "--delete-chain"},
};

const CommandOption* find_command(std::string_view word) {
    const auto found = std::ranges::find_if(command_options, [&](const CommandOption& option) {
        return word == option.short_name || word == option.long_name;
    });
    return found == std::end(command_options) ? nullptr : found;
}

bool is_option(std::string_view word) {
    return word.starts_with('-') && word.size() > 1;
}

// Reads the words after "iptables". Options may be in any order; those that are neither the table
// nor the command belong to the rule.
class CallReader {
  public:
    explicit CallReader(const std::vector<std::string>& words) : words_(words) {}
    std::optional<Refusal> read(Call& call);

  private:
    const std::vector<std::string>& words_;
    size_t at_ = 0;

    const std::string* value() {
        if (at_ == words_.size() || is_option(words_[at_]) || words_[at_] == "!") return nullptr;
        return &words_[at_++];
    }
    std::optional<Refusal> read_command(Call& call, char command);
    void keep_option(Rule& rule, const std::string& word);
};

std::optional<Refusal> CallReader::read(Call& call) {
    call.rule.words = words_;
    while (at_ < words_.size()) {
        const std::string& word = words_[at_++];
        if (word == "-t" || word == "--table") {
            const std::string* table = value();
            if (!table) return Refusal{word + " names no table"};
            call.table = *table;
        } else if (const CommandOption* option = find_command(word)) {
            if (call.command != '\0') return Refusal{"two commands in one line"};
            if (auto refusal = read_command(call, option->short_name[1])) return refusal;
        } else {
            keep_option(call.rule, word);
        }
    }
    if (call.command == '\0') return Refusal{"no command that is known here", true};
    return std::nullopt;
}

// The words after an option belong to it, whatever they look like.
void CallReader::keep_option(Rule& rule, const std::string& word) {
    const size_t start = at_ - 1;
    const RuleOption* option = find_rule_option(word);
    size_t behind = option ? option->words : 0;
    if (behind > 0 && at_ < words_.size() && words_[at_] == "!") behind++;
    at_ = std::min(at_ + behind, words_.size());
    for (size_t i = start; i < at_; i++) {
        rule.rule_words.push_back(words_[i]);
        if (!rule.target.empty()) rule.target_options.push_back(words_[i]);
    }
    const bool is_jump = option && option->names[0] == "-j";
    if (is_jump && rule.target.empty() && start + 1 < at_) rule.target = words_[start + 1];
}

std::optional<Refusal> CallReader::read_command(Call& call, char command) {
    call.command = command;
    const std::string* chain = value();
    if (chain) call.chain = *chain;
    if (!chain && command != 'F' && command != 'X') return Refusal{"the command names no chain"};
    if (command == 'P') {
        const std::string* policy = value();
        if (!policy) return Refusal{"-P names no policy"};
        call.policy = *policy;
    }
    if (command == 'I' || command == 'D')
        if (const std::string* number = value()) {
            const std::optional<long long> place = scan_number(number->c_str());
            if (!place || *place < 1) return Refusal{"'" + *number + "' is not a rule number"};
            call.number = static_cast<size_t>(*place);
        }
    return std::nullopt;
}

// The tables while lines are executed.
class Tables {
  public:
    Tables();
    std::optional<Refusal> carry_out(const Call& call);
    Netfilter result;

  private:
    Chain* find(const std::string& table, const std::string& name);
    std::optional<Refusal> flush(const Call& call);
    std::optional<Refusal> make(const Call& call);
    std::optional<Refusal> remove(const Call& call);
    std::optional<Refusal> set_policy(const Call& call, Chain& chain);
    std::optional<Refusal> add(const Call& call, Chain& chain);
    std::optional<Refusal> take_away(const Call& call, Chain& chain);
    std::optional<Refusal> check(const Call& call);
    bool is_used(const Chain& chain) const;
};

Tables::Tables() {
    for (const BuiltIn& chain : built_in_chains)
        result.chains.push_back({.table = std::string(chain.table),
                                 .name = std::string(chain.chain),
                                 .policy = "ACCEPT"});
}

Chain* Tables::find(const std::string& table, const std::string& name) {
    const auto found = std::ranges::find_if(result.chains, [&](const Chain& chain) {
        return chain.table == table && chain.name == name;
    });
    return found == result.chains.end() ? nullptr : &*found;
}

std::optional<Refusal> Tables::carry_out(const Call& call) {
    const bool known = std::ranges::any_of(
        built_in_chains, [&](const BuiltIn& chain) { return chain.table == call.table; });
    // The kernel has more tables than rc uses.
    if (!known) return Refusal{"no table '" + call.table + "' is known here", true};
    if (call.command == 'F') return flush(call);
    if (call.command == 'N') return make(call);
    if (call.command == 'X') return remove(call);

    Chain* chain = find(call.table, call.chain);
    if (!chain) return Refusal{"there is no chain '" + call.chain + "'"};
    if (call.command == 'P') return set_policy(call, *chain);
    if (call.command == 'D') return take_away(call, *chain);
    return add(call, *chain);
}

std::optional<Refusal> Tables::flush(const Call& call) {
    if (!call.chain.empty() && !find(call.table, call.chain))
        return Refusal{"there is no chain '" + call.chain + "'"};
    for (Chain& chain : result.chains)
        if (chain.table == call.table && (call.chain.empty() || chain.name == call.chain))
            chain.rules.clear();
    return std::nullopt;
}

std::optional<Refusal> Tables::make(const Call& call) {
    if (find(call.table, call.chain)) return Refusal{"the chain is there already"};
    const auto behind =
        std::ranges::find_if(result.chains.rbegin(), result.chains.rend(),
                             [&](const Chain& chain) { return chain.table == call.table; });
    result.chains.insert(behind.base(),
                         Chain{.table = call.table, .name = call.chain, .policy = std::nullopt});
    return std::nullopt;
}

std::optional<Refusal> Tables::remove(const Call& call) {
    if (call.chain.empty()) {
        std::erase_if(result.chains, [&](const Chain& chain) {
            return chain.table == call.table && !chain.policy && chain.rules.empty() &&
                   !is_used(chain);
        });
        return std::nullopt;
    }
    const Chain* chain = find(call.table, call.chain);
    if (!chain) return Refusal{"there is no chain '" + call.chain + "'"};
    if (chain->policy) return Refusal{"a built-in chain stays"};
    if (!chain->rules.empty()) return Refusal{"the chain is not empty"};
    if (is_used(*chain)) return Refusal{"rules lead to the chain"};
    result.chains.erase(result.chains.begin() + (chain - result.chains.data()));
    return std::nullopt;
}

std::optional<Refusal> Tables::set_policy(const Call& call, Chain& chain) {
    if (!chain.policy) return Refusal{"only built-in chains have a policy"};
    if (call.policy != "ACCEPT" && call.policy != "DROP")
        return Refusal{"'" + call.policy + "' is not a policy"};
    chain.policy = call.policy;
    chain.policy_origin = call.rule.origin;
    return std::nullopt;
}

std::optional<Refusal> Tables::add(const Call& call, Chain& chain) {
    if (auto refusal = check(call)) return refusal;
    size_t place = chain.rules.size();
    if (call.command == 'I') place = call.number.value_or(1) - 1;
    if (place > chain.rules.size()) return Refusal{"the chain has no such place"};
    chain.rules.insert(chain.rules.begin() + static_cast<ptrdiff_t>(place), call.rule);
    return std::nullopt;
}

std::optional<Refusal> Tables::take_away(const Call& call, Chain& chain) {
    size_t place = call.number.value_or(0) - 1;
    if (!call.number) {
        const auto found = std::ranges::find_if(
            chain.rules, [&](const Rule& rule) { return rule.rule_words == call.rule.rule_words; });
        place = static_cast<size_t>(found - chain.rules.begin());
    }
    if (place >= chain.rules.size()) return Refusal{"there is no such rule"};
    chain.rules.erase(chain.rules.begin() + static_cast<ptrdiff_t>(place));
    return std::nullopt;
}

std::optional<Refusal> Tables::check(const Call& call) {
    const std::string& name = call.rule.target;
    const Chain* chain = find(call.table, name);
    if (chain && chain->policy) return Refusal{"no rule leads to a built-in chain"};
    if (!chain && !name.empty()) {
        const auto found = std::ranges::find(targets, name, &Target::name);
        if (found == std::end(targets))
            return Refusal{"there is no target or chain '" + name + "'"};
        if (!found->table.empty() && found->table != call.table)
            return Refusal{name + " is for the table " + std::string(found->table) + " only"};
    }
    const RuleReading reading = read_rule(call.rule);
    if (!reading.refused.empty()) return Refusal{reading.refused};
    return std::nullopt;
}

bool Tables::is_used(const Chain& chain) const {
    return std::ranges::any_of(result.chains, [&](const Chain& other) {
        return other.table == chain.table &&
               std::ranges::count(other.rules, chain.name, &Rule::target) > 0;
    });
}

void carry_out(Tables& tables, const ScriptCommand& command, Origin origin) {
    const auto refuse = [&](const Refusal& refusal) {
        tables.result.refused.push_back({.line = command.text,
                                         .reason = refusal.reason,
                                         .origin = origin,
                                         .unread = refusal.unread});
    };
    const bool is_call = !command.words.empty() && is_program(command.words[0], "iptables");
    if (!is_call || !command.unread.empty()) {
        const bool named = std::ranges::any_of(
            command.words, [](const std::string& word) { return is_program(word, "iptables"); });
        if (!command.unread.empty() && contains(command.text, "iptables"))
            refuse({command.unread, true});
        else if (named && !is_program(command.words[0], "echo"))
            refuse({"the line is more than a call of iptables", true});
        return;
    }
    Call call;
    const std::vector<std::string> words(command.words.begin() + 1, command.words.end());
    std::optional<Refusal> refusal = CallReader(words).read(call);
    call.rule.origin = origin;
    call.rule.pattern = command.pattern;
    if (!refusal) refusal = tables.carry_out(call);
    if (refusal) refuse(*refusal);
}

}  // namespace

std::string Rule::text() const {
    std::string line;
    for (const std::string& word : rule_words) {
        const bool plain =
            !word.empty() && word.find_first_of(" \t\n\"'\\$`*?[]#~;&|()<>{}") == std::string::npos;
        line += (line.empty() ? "" : " ") + (plain ? word : "\"" + word + "\"");
    }
    return line;
}

const Chain* Netfilter::find(std::string_view table, std::string_view name) const {
    const auto found = std::ranges::find_if(
        chains, [&](const Chain& chain) { return chain.table == table && chain.name == name; });
    return found == chains.end() ? nullptr : &*found;
}

Netfilter netfilter_after(const std::vector<ExecutedCommand>& commands) {
    Tables tables;
    for (const ExecutedCommand& executed : commands)
        carry_out(tables, executed.command, executed.origin);
    return std::move(tables.result);
}

Netfilter netfilter_of(const Transcript& transcript, const World& before) {
    return netfilter_after(executed_commands(transcript, before));
}
