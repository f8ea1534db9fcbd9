// The readers of iptables-save and of `iptables -L` against the iptables of this machine: the rules
// of many settings are loaded into a network namespace, printed and read again.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "core/text.h"
#include "plan/netfilter/listed_rules.h"
#include "plan/netfilter/rule_reading.h"
#include "plan/router/case_file.h"
#include "plan/router/plan.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* table_names[] = {"filter", "nat", "mangle"};

std::string content_of(const fs::path& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// A folder that is removed at the end.
class Folder {
  public:
    Folder() {
        char name[] = "/tmp/iptables_test.XXXXXX";
        path_ = mkdtemp(name);
    }
    ~Folder() { fs::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    fs::path path() const { return path_; }

  private:
    fs::path path_;
};

// Loads "rules" and prints all tables; "error" has the message of iptables-restore.
constexpr const char* script =
    "cd $1 && export XTABLES_LOCKFILE=$1/lock\n"
    "$2-restore < rules 2> error || exit 1\n"
    "for table in filter nat mangle; do $2 -t $table -L -n -v -x > $table; done\n"
    "$2-save -c > saved\n";

class Namespace {
  public:
    explicit Namespace(std::string program) : program_(std::move(program)) {
        std::ofstream(folder_.path() / "load") << script;
    }
    // False if iptables refuses the rules.
    bool load(const std::string& rules) const {
        std::ofstream(folder_.path() / "rules") << rules;
        return run("sh " + folder_.path().string() + "/load " + folder_.path().string() + " " +
                   program_);
    }
    bool works() const { return load("*filter\n-A INPUT -j ACCEPT\nCOMMIT\n"); }
    std::string error() const { return content_of(folder_.path() / "error"); }
    std::string printed(const char* name) const { return content_of(folder_.path() / name); }

  private:
    Folder folder_;
    std::string program_;

    static bool run(const std::string& command) {
        const std::string line = "unshare --map-root-user --net " + command + " > /dev/null 2>&1";
        return ::system(line.c_str()) == 0;
    }
};

// As iptables-restore reads a word.
std::string quoted(const std::string& word) {
    std::string text = "\"";
    for (const char c : word) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
    }
    return text + "\"";
}

// In today's grammar: the "!" before the option, and the match that has taken the old one's place.
std::string restored(const Rule& rule) {
    std::string line;
    for (size_t i = 0; i < rule.rule_words.size(); i++) {
        const std::string& word = rule.rule_words[i];
        const bool before_inverted =
            i + 1 < rule.rule_words.size() && rule.rule_words[i + 1] == "!";
        if (before_inverted) {
            line += " ! " + quoted(word);
            i++;
        } else if (word == "random") {
            line += " statistic --mode random --probability 0.5";
        } else {
            line += " " + quoted(word);
        }
    }
    return line;
}

// What Debian's iptables or kernel may lack.
bool may_be_lacking(const Chain& chain, const Rule& rule) {
    const std::string text = rule.text();
    return (chain.table == "nat" && rule.target == "DROP") || contains(text, "--mac-dest") ||
           contains(text, "http-block");
}

std::string rules_text(const Netfilter& tables) {
    std::string text;
    for (const char* const table : table_names) {
        text += std::string("*") + table + "\n";
        for (const Chain& chain : tables.chains)
            if (chain.table == table)
                text += ":" + chain.name + " " + chain.policy.value_or("-") + " [0:0]\n";
        for (const Chain& chain : tables.chains)
            for (const Rule& rule : chain.rules)
                if (chain.table == table) text += "-A " + chain.name + restored(rule) + "\n";
        text += "COMMIT\n";
    }
    return text;
}

std::vector<std::string> texts_of(const Chain* chain) {
    std::vector<std::string> texts;
    if (chain)
        for (const Rule& rule : chain->rules) texts.push_back(canonical_text(rule));
    return texts;
}

// The table nat of newer kernels has one more chain, but no rule is refused.
std::string refused_rules(const SavedRules& read) {
    std::string lines;
    for (const Netfilter::Refused& refused : read.tables.refused)
        if (contains(refused.line, " -A ")) lines += refused.line + "\n";
    return lines;
}

class RealIptables : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!net_.works()) GTEST_SKIP() << GetParam() << " does not work here: " << net_.error();
    }
    void TearDown() override {
        if (IsSkipped()) return;
        std::printf("%s: %zu rules compared, not tried here: %zu\n", GetParam(), compared_,
                    lacking_);
        // Of each router some ten rules.
        EXPECT_GT(compared_, 5 * lacking_);
    }
    // Loads, prints, reads and compares a router's rules.
    void compare(const std::string& name, const World& world);

  private:
    Namespace net_{GetParam()};
    size_t compared_ = 0;
    size_t lacking_ = 0;
    std::set<std::string> seen_;

    bool can_load(const Netfilter& tables, const Chain& place, const Rule& rule) const;
    void expect_same(const std::string& name, const Netfilter& wanted);
};

// Whether iptables loads a rule alone.
bool RealIptables::can_load(const Netfilter& tables, const Chain& place, const Rule& rule) const {
    Netfilter one = tables;
    for (Chain& chain : one.chains) {
        chain.rules.clear();
        if (chain.table == place.table && chain.name == place.name) chain.rules = {rule};
    }
    return net_.load(rules_text(one));
}

void RealIptables::compare(const std::string& name, const World& world) {
    const Plan plan = make_plan(world, {"rc", "firewall", "start"});
    Netfilter tables = netfilter_of(plan.after.transcript, plan.before);
    size_t lacking = 0;
    for (Chain& chain : tables.chains)
        lacking += std::erase_if(chain.rules, [&](const Rule& rule) {
            return may_be_lacking(chain, rule) || !read_rule(rule).unread.empty();
        });
    // The same rules as those of another router say nothing new.
    if (!seen_.insert(rules_text(tables)).second) return;
    lacking_ += lacking;
    if (!net_.load(rules_text(tables))) {
        const std::string reason = net_.error();
        const Netfilter all = tables;
        size_t refused = 0;
        for (Chain& chain : tables.chains)
            refused += std::erase_if(chain.rules,
                                     [&](const Rule& rule) { return !can_load(all, chain, rule); });
        lacking_ += refused;
        std::printf("%s: %zu rules refused: %s", name.c_str(), refused, reason.c_str());
        ASSERT_TRUE(net_.load(rules_text(tables))) << name << ": " << net_.error();
    }
    expect_same(name, tables);
}

void RealIptables::expect_same(const std::string& name, const Netfilter& wanted) {
    // The match that stands for the old one has another name there.
    std::string saved_text = net_.printed("saved");
    const std::string chance = "statistic --mode random --probability 0.50000000000";
    for (size_t at = 0; (at = saved_text.find(chance)) != std::string::npos;)
        saved_text.replace(at, chance.size(), "random");
    const SavedRules saved = read_saved_rules(saved_text);
    std::string listings[std::size(table_names)];
    std::vector<std::pair<std::string, std::string_view>> tables;
    for (size_t i = 0; i < std::size(table_names); i++)
        tables.emplace_back(table_names[i], listings[i] = net_.printed(table_names[i]));
    const SavedRules listed = read_listed_rules(tables);
    EXPECT_EQ(refused_rules(saved), "") << name;
    EXPECT_EQ(refused_rules(listed), "") << name;
    for (const Chain& chain : wanted.chains) {
        const std::vector<std::string> texts = texts_of(&chain);
        const Chain* const in_save = saved.tables.find(chain.table, chain.name);
        const Chain* const in_list = listed.tables.find(chain.table, chain.name);
        ASSERT_TRUE(in_save && in_list) << name << ": " << chain.name;
        EXPECT_EQ(texts_of(in_save), texts) << name << ": " << chain.table << " " << chain.name;
        EXPECT_EQ(texts_of(in_list), texts) << name << ": " << chain.table << " " << chain.name;
        EXPECT_EQ(in_save->policy, chain.policy);
        EXPECT_EQ(in_list->policy, chain.policy);
        compared_ += texts.size();
    }
}

World router_of(const char* file) {
    World world;
    world.put(working_copy, settings_image(read_settings(content_of(fs::path(SOURCE_DIR) / file))));
    world.interfaces["eth2.2"] = {.address = "198.51.100.7"};
    world.put("/tmp/wan_uptime", "1.00 1.00\n");
    return world;
}

TEST_P(RealIptables, RulesOfFactorySettingsAndTheFullHouse) {
    compare("factory settings", router_of("lab/root/etc/default"));
    compare("full house", router_of("bench/full_house.txt"));
}

TEST_P(RealIptables, RulesOfEveryCase) {
    for (const std::string& path : case_paths(SOURCE_DIR "/tests/cases/firewall")) {
        const auto loaded = load_case(path);
        ASSERT_TRUE(std::holds_alternative<Case>(loaded)) << path;
        compare(fs::path(path).stem(), case_world(std::get<Case>(loaded)));
    }
}

INSTANTIATE_TEST_SUITE_P(, RealIptables, testing::Values("iptables-legacy", "iptables-nft"),
                         [](const auto& info) { return std::string(info.param + 9); });

}  // namespace
