// Writes the text for iptables-restore, and replaces what today's iptables or a test cannot use.

#include "restore_text.h"

#include "core/text.h"
#include "plan/netfilter/rule_options.h"

namespace {

std::string quoted(const std::string& word) {
    std::string text = "\"";
    for (const char c : word) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
    }
    return text + '"';
}

// Reads a rule's words from the front.
class RuleWriter {
  public:
    RuleWriter(const Chain& chain, const Rule& rule, std::map<std::string, size_t>& replaced)
        : chain_(chain), target_(rule.target), words_(rule.rule_words), replaced_(replaced) {}

    std::string line() {
        text_ = "-A " + chain_.name;
        while (at_ < words_.size())
            if (!replace()) copy_option();
        return text_ + "\n";
    }

  private:
    const Chain& chain_;
    const std::string& target_;
    const std::vector<std::string>& words_;
    std::map<std::string, size_t>& replaced_;
    size_t at_ = 0;
    std::string text_;

    std::string word(size_t ahead) const {
        return at_ + ahead < words_.size() ? words_[at_ + ahead] : "";
    }
    bool is(const char* first, const char* second) const {
        return word(0) == first && word(1) == second;
    }
    bool put(const std::string& what, const std::string& text, size_t words) {
        replaced_[what]++;
        text_ += " " + text;
        at_ += words;
        return true;
    }

    bool replace() {
        if (is("-m", "limit"))
            return put("-m limit", format("-m tos ! --tos %u/%u", tos_over_limit, tos_over_limit),
                       2);
        if (word(0) == "--limit" || word(0) == "--limit-burst") {
            at_ += 2;
            return true;
        }
        // The short form is not unique beside "--tos".
        if (word(0) == "--to") {
            text_ += (target_ == "DNAT" ? " --to-destination " : " --to-source ") + quoted(word(1));
            at_ += 2;
            return true;
        }
        if (is("-m", "random"))
            return put("-m random", format("-m tos ! --tos %u/%u", tos_not_drawn, tos_not_drawn),
                       2);
        if (is("-m", "mac") && word(2) == "--mac-dest" && word(3) == "ff:ff:ff:ff:ff:ff")
            return put("--mac-dest", "-m pkttype --pkt-type broadcast", 4);
        if (is("--reject-with", "http-block"))
            return put("--reject-with http-block", "--reject-with tcp-reset", 2);
        // A queue without a reader.
        if (is("-j", "DROP") && chain_.table == "nat")
            return put("-j DROP in nat", "-j NFQUEUE --queue-num 65000", 2);
        return false;
    }

    // The "!" stands before the option today.
    void copy_option() {
        const RuleOption* option = find_rule_option(word(0));
        if (option && option->words > 0 && word(1) == "!") {
            text_ += " ! " + word(0);
            at_ += 2;
        } else {
            text_ += " " + (word(0).starts_with('-') ? word(0) : quoted(word(0)));
            at_++;
        }
        for (size_t i = 0; option && i < option->words && at_ < words_.size(); i++)
            text_ += " " + quoted(words_[at_++]);
    }
};

}  // namespace

std::string restore_text(const Netfilter& tables, std::map<std::string, size_t>& replaced) {
    std::string text;
    for (const char* table : {"filter", "nat", "mangle"}) {
        text += "*" + std::string(table) + "\n";
        for (const Chain& chain : tables.chains)
            if (chain.table == table)
                text += ":" + chain.name + " " + chain.policy.value_or("-") + " [0:0]\n";
        for (const Chain& chain : tables.chains)
            if (chain.table == table)
                for (const Rule& rule : chain.rules)
                    text += RuleWriter(chain, rule, replaced).line();
        text += "COMMIT\n";
    }
    return text;
}
