// The tables after iptables lines: order, policies, refusals, and the origin of each rule.

#include "plan/netfilter/netfilter.h"

#include <gtest/gtest.h>

#include "plan/router/shell_script.h"

namespace {

// The tables after a script that is written and run.
Netfilter after(const std::string& script) {
    Transcript transcript;
    transcript.add_with_body("write", "/tmp/rules", script);
    transcript.add("run", "/bin/sh /tmp/rules");
    return netfilter_of(transcript);
}

std::string shown(const Netfilter& tables, const char* table, const char* name) {
    const Chain* chain = tables.find(table, name);
    if (!chain) return "no such chain";
    std::string text = chain->policy.value_or("-");
    for (const Rule& rule : chain->rules) text += " | " + rule.text();
    return text;
}

std::string refusals(const Netfilter& tables) {
    std::string text;
    for (const Netfilter::Refused& refused : tables.refused)
        text += refused.line + ": " + refused.reason + (refused.unread ? " (unread)" : "") + "\n";
    return text;
}

std::vector<std::string> chain_names(const Netfilter& tables) {
    std::vector<std::string> names;
    for (const Chain& chain : tables.chains) names.push_back(chain.table + " " + chain.name);
    return names;
}

TEST(Netfilter, EmptyTablesHaveTheBuiltInChains) {
    const Netfilter tables = netfilter_of({});
    EXPECT_EQ(chain_names(tables),
              (std::vector<std::string>{"filter INPUT", "filter FORWARD", "filter OUTPUT",
                                        "nat PREROUTING", "nat POSTROUTING", "nat OUTPUT",
                                        "mangle PREROUTING", "mangle INPUT", "mangle FORWARD",
                                        "mangle OUTPUT", "mangle POSTROUTING"}));
    for (const Chain& chain : tables.chains) {
        EXPECT_EQ(chain.policy, "ACCEPT");
        EXPECT_TRUE(chain.rules.empty());
    }
}

TEST(Netfilter, RulesAreAppendedAndInserted) {
    const Netfilter tables = after(
        "iptables -A INPUT -p tcp -j ACCEPT\n"
        "iptables -A INPUT -p udp -j ACCEPT\n"
        "iptables -I INPUT -i br0 -j ACCEPT\n"
        "iptables -I INPUT 2 -i lo -j ACCEPT\n"
        "iptables -I INPUT 5 -j DROP\n"
        "iptables -I INPUT 7 -j DROP\n"
        "iptables --append INPUT --jump DROP\n");
    EXPECT_EQ(shown(tables, "filter", "INPUT"),
              "ACCEPT | -i br0 -j ACCEPT | -i lo -j ACCEPT | -p tcp -j ACCEPT | -p udp -j ACCEPT"
              " | -j DROP | --jump DROP");
    EXPECT_EQ(refusals(tables), "iptables -I INPUT 7 -j DROP: the chain has no such place\n");
}

TEST(Netfilter, RulesAreDeletedByPlaceAndByText) {
    const Netfilter tables = after(
        "iptables -A INPUT -p tcp -j ACCEPT\n"
        "iptables -A INPUT -p udp -j ACCEPT\n"
        "iptables -A INPUT -p udp -j ACCEPT\n"
        "iptables -A INPUT -p icmp -j ACCEPT\n"
        "iptables -D INPUT -p udp -j ACCEPT\n"
        "iptables -D INPUT 1\n"
        "iptables -D INPUT -p gre -j ACCEPT\n"
        "iptables -D INPUT 3\n");
    EXPECT_EQ(shown(tables, "filter", "INPUT"), "ACCEPT | -p udp -j ACCEPT | -p icmp -j ACCEPT");
    EXPECT_EQ(refusals(tables),
              "iptables -D INPUT -p gre -j ACCEPT: there is no such rule\n"
              "iptables -D INPUT 3: there is no such rule\n");
}

TEST(Netfilter, ChainsAreCreatedFlushedAndRemoved) {
    const Netfilter tables = after(
        "iptables -t nat -N VS\n"
        "iptables -N DOS\n"
        "iptables -N DOS\n"
        "iptables -N GONE\n"
        "iptables -X GONE\n"
        "iptables -X GONE\n"
        "iptables -X INPUT\n"
        "iptables -A INPUT -j DOS\n"
        "iptables -X DOS\n"
        "iptables -F INPUT\n"
        "iptables -A DOS -j DROP\n"
        "iptables -X DOS\n"
        "iptables -F -t nat\n"
        "iptables -F NONE\n");
    EXPECT_EQ(chain_names(tables),
              (std::vector<std::string>{"filter INPUT", "filter FORWARD", "filter OUTPUT",
                                        "filter DOS", "nat PREROUTING", "nat POSTROUTING",
                                        "nat OUTPUT", "nat VS", "mangle PREROUTING", "mangle INPUT",
                                        "mangle FORWARD", "mangle OUTPUT", "mangle POSTROUTING"}));
    EXPECT_EQ(refusals(tables),
              "iptables -N DOS: the chain is there already\n"
              "iptables -X GONE: there is no chain 'GONE'\n"
              "iptables -X INPUT: a built-in chain stays\n"
              "iptables -X DOS: rules lead to the chain\n"
              "iptables -X DOS: the chain is not empty\n"
              "iptables -F NONE: there is no chain 'NONE'\n");
}

TEST(Netfilter, OneTableIsFlushedAtATime) {
    const Netfilter tables = after(
        "iptables -A INPUT -j DROP\n"
        "iptables -A POSTROUTING -t nat -o ppp0 -j MASQUERADE\n"
        "/usr/sbin/iptables -t mangle -A FORWARD -j MARK --set-mark 1\n"
        "iptables -t filter -F\n"
        "iptables -N LATER\n"
        "iptables -N USED\n"
        "iptables -A INPUT -j USED\n"
        "iptables -X\n");
    EXPECT_EQ(shown(tables, "filter", "INPUT"), "ACCEPT | -j USED");
    EXPECT_EQ(shown(tables, "nat", "POSTROUTING"), "ACCEPT | -o ppp0 -j MASQUERADE");
    EXPECT_EQ(shown(tables, "mangle", "FORWARD"), "ACCEPT | -j MARK --set-mark 1");
    EXPECT_EQ(shown(tables, "filter", "LATER"), "no such chain");
    EXPECT_EQ(shown(tables, "filter", "USED"), "-");
    EXPECT_EQ(refusals(tables), "");
}

TEST(Netfilter, TheLastPolicyCounts) {
    const Netfilter tables = after(
        "iptables -P FORWARD DROP\n"
        "iptables -P FORWARD ACCEPT\n"
        "iptables -P INPUT DROP\n"
        "iptables -N DOS\n"
        "iptables -P DOS DROP\n"
        "iptables -P OUTPUT LOG\n"
        "iptables -P OUTPUT\n");
    EXPECT_EQ(shown(tables, "filter", "FORWARD"), "ACCEPT");
    EXPECT_EQ(shown(tables, "filter", "INPUT"), "DROP");
    EXPECT_EQ(shown(tables, "filter", "OUTPUT"), "ACCEPT");
    EXPECT_EQ(refusals(tables),
              "iptables -P DOS DROP: only built-in chains have a policy\n"
              "iptables -P OUTPUT LOG: 'LOG' is not a policy\n"
              "iptables -P OUTPUT: -P names no policy\n");
}

TEST(Netfilter, TargetsMustExist) {
    const Netfilter tables = after(
        "iptables -A INPUT -j NOWHERE\n"
        "iptables -A INPUT -j DNAT --to 10.0.0.1\n"
        "iptables -t nat -A PREROUTING -j REJECT\n"
        "iptables -A INPUT -j FORWARD\n"
        "iptables -A INPUT -j\n"
        "iptables -A MISSING -j DROP\n"
        "iptables -A\n"
        "iptables -A INPUT -p tcp\n");
    EXPECT_EQ(shown(tables, "filter", "INPUT"), "ACCEPT | -p tcp");
    EXPECT_EQ(refusals(tables),
              "iptables -A INPUT -j NOWHERE: there is no target or chain 'NOWHERE'\n"
              "iptables -A INPUT -j DNAT --to 10.0.0.1: DNAT is for the table nat only\n"
              "iptables -t nat -A PREROUTING -j REJECT: REJECT is for the table filter only\n"
              "iptables -A INPUT -j FORWARD: no rule leads to a built-in chain\n"
              "iptables -A INPUT -j: -j needs an argument\n"
              "iptables -A MISSING -j DROP: there is no chain 'MISSING'\n"
              "iptables -A: the command names no chain\n");
}

TEST(Netfilter, LinesThatAreNotUnderstoodAreReported) {
    const Netfilter tables = after(
        "iptables -L\n"
        "iptables\n"
        "iptables -t raw -F\n"
        "iptables -A INPUT -A FORWARD\n"
        "iptables -A INPUT -i $WAN -j DROP\n"
        "[ -e /tmp/x ] && iptables -F\n"
        "insmod iptables.ko\n"
        "rmmod `iptables`\n"
        "! iptables -F\n"
        "if true\n"
        "then\n"
        "iptables -F INPUT\n"
        "fi\n"
        "echo \"a '\n"
        "iptables -F\n");
    EXPECT_EQ(refusals(tables),
              "iptables -L: no command that is known here (unread)\n"
              "iptables: no command that is known here (unread)\n"
              "iptables -t raw -F: no table 'raw' is known here (unread)\n"
              "iptables -A INPUT -A FORWARD: two commands in one line\n"
              "iptables -A INPUT -i $WAN -j DROP: the shell would expand \"$\" or \"`\" (unread)\n"
              "[ -e /tmp/x ] && iptables -F: the shell composes it with other commands (unread)\n"
              "rmmod `iptables`: the shell would expand \"$\" or \"`\" (unread)\n"
              "! iptables -F: the line is more than a call of iptables (unread)\n"
              "iptables -F INPUT: the shell composes it with other commands (unread)\n"
              "echo \"a '\niptables -F\n: a quote is not closed (unread)\n");
}

TEST(Netfilter, RulesKnowTheirOrigin) {
    Transcript transcript;
    transcript.add("run", "iptables -A INPUT -j DROP");
    transcript.add_with_body("write", "/tmp/a", "#!/bin/sh\n\niptables -A OUTPUT -j DROP\n");
    transcript.add_with_body("append", "/tmp/a", "iptables -A OUTPUT");
    transcript.add_with_body("append", "/tmp/a", " -j ACCEPT\niptables -A FORWARD -j DROP\n");
    transcript.add("run", "/tmp/a&");
    transcript.add("run", "echo iptables -A INPUT -i lo >/tmp/b");
    transcript.add("run", "/bin/sh -x /tmp/b");
    transcript.add_with_body("write", "/tmp/c",
                             "\niptables -P INPUT DROP\niptables -A INPUT -p 2\n");
    transcript.add("run", "cp /tmp/c /tmp/d");
    transcript.add("run", "/tmp/d");
    const Netfilter tables = netfilter_of(transcript);
    const auto origin = [&](const char* chain, size_t place) {
        return tables.find("filter", chain)->rules.at(place).origin;
    };
    EXPECT_EQ(origin("INPUT", 0), (Origin{0, 0}));
    EXPECT_EQ(origin("OUTPUT", 0), (Origin{1, 3}));
    EXPECT_EQ(origin("OUTPUT", 1), (Origin{2, 1}));
    EXPECT_EQ(origin("FORWARD", 0), (Origin{3, 2}));
    // Lines written by the shell itself are in no event.
    EXPECT_EQ(origin("INPUT", 1), (Origin{6, 0}));
    // Copied.
    EXPECT_EQ(tables.find("filter", "INPUT")->policy_origin, (Origin{7, 2}));
    EXPECT_EQ(origin("INPUT", 2), (Origin{7, 3}));
    EXPECT_EQ(refusals(tables), "");
}

TEST(Netfilter, AScriptHasTheContentOfItsMoment) {
    Transcript transcript;
    transcript.add("run", "/bin/sh /tmp/rules");
    transcript.add_with_body("write", "/tmp/rules", "iptables -A INPUT -p tcp\n");
    transcript.add("run", "/bin/sh /tmp/rules");
    transcript.add_with_body("write", "/tmp/rules", "iptables -A INPUT -p udp\n");
    transcript.add("run", "/bin/sh /tmp/rules");
    transcript.add("run", "cp /tmp/rules /tmp/copy");
    transcript.add("remove", "/tmp/rules");
    transcript.add("run", "/bin/sh /tmp/rules");
    transcript.add("run", "/bin/sh /tmp/copy 2>/dev/null");
    transcript.add_with_body("write", "/tmp/other", "iptables -A INPUT -p icmp\n");
    EXPECT_EQ(shown(netfilter_of(transcript), "filter", "INPUT"),
              "ACCEPT | -p tcp | -p udp | -p udp");
}

TEST(Netfilter, FilesFromBeforeTheRunCount) {
    World before;
    before.put("/tmp/rule2", "iptables -t nat -A POSTROUTING -o ppp0 -j MASQUERADE\n");
    Transcript transcript;
    transcript.add("run", "/bin/sh /tmp/rule2");
    transcript.add_with_body("append", "/tmp/rule2", "iptables -A INPUT -j DROP\n");
    transcript.add("run", "/bin/sh /tmp/rule2");
    const Netfilter tables = netfilter_of(transcript, before);
    EXPECT_EQ(shown(tables, "nat", "POSTROUTING"),
              "ACCEPT | -o ppp0 -j MASQUERADE | -o ppp0 -j MASQUERADE");
    EXPECT_EQ(tables.find("nat", "POSTROUTING")->rules[0].origin, (Origin{0, 0}));
    EXPECT_EQ(tables.find("filter", "INPUT")->rules[0].origin, (Origin{1, 1}));
    EXPECT_EQ(*before.get("/tmp/rule2"), "iptables -t nat -A POSTROUTING -o ppp0 -j MASQUERADE\n");
}

TEST(Netfilter, WordsAreSplitAsByTheShell) {
    const Netfilter tables = after(
        "iptables -A INPUT  -j LOG --log-prefix \"[DOS] \" # at most\n"
        "iptables -A INPUT -m string --string a\\ b'c d'\"e\\\"f\" --algo kmp 2> /dev/null\n"
        "iptables -A INPUT -i ! eth2.2 \\\n -j DROP; iptables -A INPUT -p 2&\n");
    const std::vector<Rule>& rules = tables.find("filter", "INPUT")->rules;
    ASSERT_EQ(rules.size(), 4u);
    EXPECT_EQ(rules[0].words,
              (std::vector<std::string>{"-A", "INPUT", "-j", "LOG", "--log-prefix", "[DOS] "}));
    EXPECT_EQ(rules[0].target, "LOG");
    EXPECT_EQ(rules[0].target_options, (std::vector<std::string>{"--log-prefix", "[DOS] "}));
    EXPECT_EQ(rules[0].text(), "-j LOG --log-prefix \"[DOS] \"");
    EXPECT_EQ(rules[1].rule_words[3], "a bc de\"f");
    EXPECT_EQ(rules[2].text(), "-i ! eth2.2 -j DROP");
    EXPECT_EQ(rules[3].text(), "-p 2");
    EXPECT_EQ(rules[3].origin, (Origin{0, 4}));
}

struct ScriptRow {
    const char* script;
    const char* words;
};

TEST(Scripts, CommandsAndWords) {
    for (const ScriptRow& row : {
             ScriptRow{"", ""},
             ScriptRow{"\n \t\n# only a comment", ""},
             ScriptRow{"a b", "[a][b]"},
             ScriptRow{"a#b #c", "[a#b]"},
             ScriptRow{"a; b&c", "[a];[b];[c]"},
             ScriptRow{"a ''", "[a][]"},
             ScriptRow{"a 'b\nc'\nd", "[a][b\nc];[d]"},
             ScriptRow{"a >b 2>&1 <c 3", "[a][3]"},
             ScriptRow{"a >/dev/null b", "[a][b]"},
             ScriptRow{"a x2>b", "[a][x2]"},
             ScriptRow{"a '2'>b", "[a][2]"},
             ScriptRow{"a \\$b", "[a][$b]"},
             ScriptRow{"a \"\\$\\b\"", "[a][$\\b]"},
             ScriptRow{"a ! b", "[a][!][b]"},
             ScriptRow{"a b~c", "[a][b~c]"},
             ScriptRow{"a \\", "[a][]"},
         }) {
        std::string words;
        for (const ScriptCommand& command : script_commands(row.script)) {
            EXPECT_EQ(command.unread, "") << row.script;
            words += words.empty() ? "" : ";";
            for (const std::string& word : command.words) words += "[" + word + "]";
        }
        EXPECT_EQ(words, row.words) << row.script;
    }
}

TEST(Scripts, TheFileThatACommandRuns) {
    struct Row {
        const char* line;
        const char* script;
    };
    for (const Row& row : {
             Row{"/tmp/a start", "/tmp/a"},
             Row{"/bin/sh -x /tmp/a&", "/tmp/a"},
             Row{"sh /tmp/a >/dev/null", "/tmp/a"},
             Row{"sh", ""},
             Row{"sh -x", ""},
             Row{"/tmp/$a", ""},
         })
        EXPECT_EQ(script_of(script_commands(row.line).at(0)), row.script) << row.line;
}

TEST(Scripts, WhatAShellWouldExpand) {
    for (const char* script : {"a $b", "a `b`", "a \"$b\"", "a ~", "a|b", "a&&b", "a||b", "(a)",
                               "a 'b", "a \"b", "if a", "{ a"}) {
        const std::vector<ScriptCommand> commands = script_commands(script);
        ASSERT_EQ(commands.size(), 1u) << script;
        EXPECT_NE(commands[0].unread, "") << script;
    }
    // A pattern without matching files stays as it is.
    for (const char* script : {"a *.exe", "a ?", "a [b]"}) {
        const std::vector<ScriptCommand> commands = script_commands(script);
        ASSERT_EQ(commands.size(), 1u) << script;
        EXPECT_EQ(commands[0].unread, "") << script;
        EXPECT_TRUE(commands[0].pattern) << script;
    }
    EXPECT_FALSE(script_commands("a '*' \"[b]\" \\?")[0].pattern);
    // The lines inside are not certain either; the lines after it are.
    const std::vector<ScriptCommand> commands = script_commands("if a\nthen\nb\nfi\nc\n");
    ASSERT_EQ(commands.size(), 5u);
    EXPECT_NE(commands[2].unread, "");
    EXPECT_EQ(commands[4].unread, "");
    EXPECT_EQ(commands[4].line, 5u);
}

}  // namespace
