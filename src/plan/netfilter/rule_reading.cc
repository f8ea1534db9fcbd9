// Parses rules as iptables does: each option, the match or target that it needs, and what is
// missing.

#include "plan/netfilter/rule_reading.h"

#include <algorithm>

#include "core/text.h"

namespace {

class RuleReader {
  public:
    explicit RuleReader(const Rule& rule) : rule_(rule), words_(rule.rule_words) {}
    RuleReading read();

  private:
    const Rule& rule_;
    OptionWords words_;
    RuleReading reading_;
    // The protocol number given with -p, unless inverted.
    std::optional<unsigned> protocol_;
    std::vector<const RuleModule*> modules_;
    std::vector<std::string_view> seen_;

    bool is_done() const { return !reading_.refused.empty() || !reading_.unread.empty(); }
    void refuse(const std::string& why) {
        if (!is_done()) reading_.refused = why;
    }
    std::string take_word() {
        std::string word = words_.front();
        words_ = words_.subspan(1);
        return word;
    }
    bool take_inversion() {
        const bool inverted = !words_.empty() && words_.front() == "!";
        if (inverted) words_ = words_.subspan(1);
        return inverted;
    }
    void read_option(bool inverted);
    bool is_loaded(std::string_view owner) const;
    void check(const RuleOption& option, const std::string& name, OptionWords words);
    void load(const std::string& name);
    void use(const RuleOption& option, bool inverted, OptionWords words);
    void check_completeness();
    bool has(std::string_view name) const { return std::ranges::count(seen_, name) > 0; }
};

RuleReading RuleReader::read() {
    while (!words_.empty() && !is_done()) {
        const bool inverted = take_inversion();
        if (words_.empty())
            refuse("nothing follows \"!\"");
        else
            read_option(inverted);
    }
    if (!is_done()) check_completeness();
    return std::move(reading_);
}

void RuleReader::read_option(bool inverted) {
    const std::string name = take_word();
    const RuleOption* option = find_rule_option(name);
    if (!name.starts_with('-')) return refuse("'" + name + "' is not part of an option");
    if (!option) {
        reading_.unread = "'" + name + "' is an unknown option";
        return;
    }
    if (!is_loaded(option->owner))
        return refuse(name + " without the match or target that it belongs to");
    // The "!" may also come between an option and its words.
    if (option->invertible && option->words > 0 && take_inversion()) {
        if (inverted) return refuse("'!' given twice for " + name);
        inverted = true;
    }
    if (inverted && !option->invertible) return refuse(name + " does not take '!'");
    if (words_.size() < option->words) return refuse(name + " needs an argument");
    const OptionWords arguments = words_.first(option->words);
    words_ = words_.subspan(option->words);
    check(*option, name, arguments);
    if (!is_done()) use(*option, inverted, arguments);
}

// Whether the match or target that an option belongs to came before it.
bool RuleReader::is_loaded(std::string_view owner) const {
    if (owner.empty()) return true;
    if (owner == "ports") return protocol_ == protocol_tcp || protocol_ == protocol_udp;
    if (owner == "tcp") return protocol_ == protocol_tcp;
    if (owner == "icmp") return protocol_ == protocol_icmp;
    if (owner == "NAT") return rule_.target == "DNAT" || rule_.target == "SNAT";
    if (owner == rule_.target) return has("-j");
    return std::ranges::any_of(modules_,
                               [&](const RuleModule* module) { return module->name == owner; });
}

void RuleReader::check(const RuleOption& option, const std::string& name, OptionWords words) {
    if (!option.check) return;
    std::string text = name;
    for (const std::string& word : words) text += " " + word;
    switch (option.check(words)) {
        case Validity::Fine:
            return;
        case Validity::Refused:
            return refuse("'" + text + "' is invalid");
        case Validity::Unread:
            reading_.unread = "'" + text + "' is not understood";
    }
}

void RuleReader::load(const std::string& name) {
    const RuleModule* module = find_rule_module(name);
    // -m may name the match that -p loads implicitly.
    if (name == protocol_text(protocol_.value_or(0))) return;
    if (!module) {
        reading_.unread = "'-m " + name + "' is an unknown match";
        return;
    }
    modules_.push_back(module);
    if (module->test) reading_.conditions.push_back({.test = module->test({})});
}

void RuleReader::use(const RuleOption& option, bool inverted, OptionWords words) {
    seen_.push_back(option.names[0]);
    if (option.names[0] == "-m") return load(words[0]);
    if (option.names[0] == "-p" && !inverted) protocol_ = read_protocol(words[0]);
    if (option.test)
        reading_.conditions.push_back({.test = option.test(words),
                                       .inverted = inverted,
                                       .words = std::vector(words.begin(), words.end())});
}

void RuleReader::check_completeness() {
    for (const RuleModule* module : modules_)
        if (!module->needed.empty() && !has(module->needed))
            refuse(format("-m %s without %s", std::string(module->name).c_str(),
                          std::string(module->needed).c_str()));
    const auto needs_one = [&](const char* name, std::string_view one, std::string_view other) {
        if (rule_.target == name && !has(one) && !has(other))
            refuse(format("-j %s without its option", name));
    };
    needs_one("DNAT", "--to", "--to-destination");
    needs_one("SNAT", "--to", "--to-source");
    needs_one("MARK", "--set-mark", "--set-xmark");
    needs_one("TTL", "--ttl-set", "--ttl-inc");
    needs_one("TCPMSS", "--set-mss", "--clamp-mss-to-pmtu");

    const std::string* place = target_option(rule_, "--to");
    const bool has_port = place && contains(*place, ":");
    if (has_port && !is_loaded("ports")) refuse("a port without -p tcp or -p udp");
    const std::string* rejection = target_option(rule_, "--reject-with");
    if (rejection && *rejection == "tcp-reset" && !is_loaded("tcp"))
        refuse("tcp-reset without -p tcp");
}

}  // namespace

MatchAnswer Condition::compare(const Packet& packet) const {
    MatchAnswer answer = ::compare(test, packet);
    if (inverted && answer.answer != Answer::Unknown)
        answer.answer = answer.answer == Answer::Yes ? Answer::No : Answer::Yes;
    return answer;
}

RuleReading read_rule(const Rule& rule) {
    return RuleReader(rule).read();
}

const std::string* option_of(const Rule& rule, std::string_view name) {
    const std::vector<std::string>& words = rule.rule_words;
    for (size_t i = 0; i + 1 < words.size(); i++)
        if (words[i] == name) return &words[i + 1];
    return nullptr;
}

const std::string* target_option(const Rule& rule, std::string_view name) {
    const std::vector<std::string>& words = rule.target_options;
    for (size_t i = 0; i + 1 < words.size(); i++)
        if (words[i] == name || (name == "--to" && words[i].starts_with("--to-")))
            return &words[i + 1];
    return nullptr;
}
