// The packet filter that a run of rc leaves behind: its rules in the order in which iptables(8)
// gets them, each with the place in the transcript where it stands.
#ifndef RC_PLAN_NETFILTER_NETFILTER_H
#define RC_PLAN_NETFILTER_NETFILTER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plan/router/lines.h"
#include "plan/router/world.h"

struct Rule {
    // The words behind "iptables", as the shell hands them over.
    std::vector<std::string> words;
    // Those of them that say what matches and what is done then: without the table, the command and
    // the chain.
    std::vector<std::string> rule_words;
    // What stands behind -j: a chain or a built-in target; empty when nothing does.
    std::string target;
    // The target's own options, as words.
    std::vector<std::string> target_options;
    // A word is a pattern that the shell would replace by files' names, if there were such files.
    bool pattern = false;
    Origin origin;

    // The rule words as one line, quoted where the script must quote, with single blanks.
    std::string text() const;
};

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
    // Lines for iptables that could not be carried out, each with the reason: a missing chain, an
    // unknown command. rc's own scripts leave some on a first start, as they do on the router.
    struct Refused {
        std::string line;
        std::string reason;
        Origin origin;
        // The router may well carry it out: it is only here that the line is not understood.
        bool unread = false;
    };
    std::vector<Refused> refused;

    const Chain* find(std::string_view table, std::string_view name) const;
};

// Carries out the iptables lines of a transcript over empty tables: those that run directly, and
// those of scripts that "/bin/sh [-x] FILE" or the file's own path runs, with the content that the
// file had by then. What files held before the run is in the world.
Netfilter netfilter_of(const Transcript& transcript, const World& before = {});

#endif
