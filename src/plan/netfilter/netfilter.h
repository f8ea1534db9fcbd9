// The packet filter after a run of rc: its rules in the order in which iptables(8) gets them, each
// with its place in the transcript.
#ifndef RC_PLAN_NETFILTER_NETFILTER_H
#define RC_PLAN_NETFILTER_NETFILTER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plan/router/executed_commands.h"
#include "plan/router/lines.h"
#include "plan/router/world.h"

struct Rule {
    // The words after "iptables", as the shell passes them.
    std::vector<std::string> words;
    // Those of them that specify matches and target: without the table, the command and the chain.
    std::vector<std::string> rule_words;
    // The argument of -j: a chain or a built-in target; empty without -j.
    std::string target;
    // The target's own options, as words.
    std::vector<std::string> target_options;
    // A word is a pattern that the shell would replace by matching file names.
    bool pattern = false;
    Origin origin;

    // The rule words as one line, quoted where a script needs quotes, separated by single spaces.
    std::string text() const;
};

// The kernel refuses loops of chains; rc's chains are three deep.
inline constexpr int deepest_chain = 64;

struct Chain {
    std::string table;  // "filter", "nat", "mangle"
    std::string name;
    // Only built-in chains have one; ACCEPT unless a line set it.
    std::optional<std::string> policy;
    std::vector<Rule> rules = {};
    // The line that set the policy.
    std::optional<Origin> policy_origin = {};
};

struct Netfilter {
    // Tables and chains in the kernel's order for the built-in ones, the others as they were made.
    std::vector<Chain> chains;
    // iptables lines that failed, each with the reason: a missing chain, an unknown command. rc's
    // own scripts contain some on a first start, as on the router.
    struct Refused {
        std::string line;
        std::string reason;
        Origin origin;
        // The line is not understood here; the router may accept it.
        bool unread = false;
    };
    std::vector<Refused> refused;

    const Chain* find(std::string_view table, std::string_view name) const;
};

// Executes the calls of iptables among these commands, starting from empty tables.
Netfilter netfilter_after(const std::vector<ExecutedCommand>& commands);

// The same for a transcript; the world gives the content of files before the run.
Netfilter netfilter_of(const Transcript& transcript, const World& before = {});

#endif
