// The columns of a listed rule, and what each match and target prints behind them.

#include "plan/netfilter/rule_listing.h"

#include <ctype.h>

#include <algorithm>

#include "core/text.h"
#include "plan/netfilter/packet_values.h"

namespace {

using Words = std::vector<std::string>;

// The text behind the columns, from the front.
class Remarks {
  public:
    explicit Remarks(std::string_view text) : text_(text) { skip_blanks(); }
    bool empty() const { return text_.empty(); }
    std::string_view rest() const { return text_; }

    // Consumes a beginning. One that ends with a letter or digit is a whole word.
    bool take(std::string_view beginning);
    // Consumes a "!", with or without blanks around it.
    bool take_inversion() { return take("!"); }
    std::string take_word();
    // Consumes a text in quotes with escaped quotes in it; without a quote, a word.
    std::string take_quoted();
    // All the rest, in whose quotes any character may be.
    std::string take_last_quoted();

  private:
    std::string_view text_;

    void skip_blanks() {
        text_.remove_prefix(std::min(text_.find_first_not_of(' '), text_.size()));
    }
};

bool Remarks::take(std::string_view beginning) {
    if (!text_.starts_with(beginning)) return false;
    const bool whole = text_.size() == beginning.size() || text_[beginning.size()] == ' ';
    if (isalnum(static_cast<unsigned char>(beginning.back())) && !whole) return false;
    text_.remove_prefix(beginning.size());
    skip_blanks();
    return true;
}

std::string Remarks::take_word() {
    std::string word(text_.substr(0, text_.find(' ')));
    text_.remove_prefix(word.size());
    skip_blanks();
    return word;
}

std::string Remarks::take_quoted() {
    if (!text_.starts_with('"')) return take_word();
    text_.remove_prefix(1);
    std::string word;
    while (!text_.empty() && text_[0] != '"') {
        const bool escaped = text_.starts_with("\\\"") || text_.starts_with("\\\\");
        if (escaped) text_.remove_prefix(1);
        word += text_[0];
        text_.remove_prefix(1);
    }
    text_.remove_prefix(std::min<size_t>(1, text_.size()));
    skip_blanks();
    return word;
}

std::string Remarks::take_last_quoted() {
    std::string word(text_);
    text_ = {};
    const size_t end = word.find_last_not_of(' ');
    word.resize(end == std::string::npos ? 0 : end + 1);
    // `x' in old versions, "x" in new ones.
    if (word.size() < 2) return word;
    return word.substr(1, word.size() - 2);
}

void add(Words& words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
}

void add_option(Words& words, bool inverted, const Words& option) {
    if (inverted) words.emplace_back("!");
    add(words, option);
}

// "dpt:80", "dpts:1:2", "spt:!80"
bool read_ports(Remarks& remarks, Words& words) {
    struct Form {
        std::string_view start;
        const char* option;
    };
    constexpr Form forms[] = {
        {"spt:", "--sport"}, {"spts:", "--sport"}, {"dpt:", "--dport"}, {"dpts:", "--dport"}};
    for (const Form& form : forms)
        if (remarks.take(form.start)) {
            const bool inverted = remarks.take_inversion();
            add_option(words, inverted, {form.option, remarks.take_word()});
            return true;
        }
    return false;
}

// "flags:0x06/0x02", "flags:!0x17/0x02"
bool read_flags(Remarks& remarks, Words& words) {
    constexpr unsigned all = 0x3f;
    if (!remarks.take("flags:")) return false;
    const bool inverted = remarks.take_inversion();
    const std::string text = remarks.take_word();
    std::string_view rest = text;
    const std::optional<unsigned> mask = read_number(take_field(rest, '/'), 0, all);
    const std::optional<unsigned> wanted = read_number(rest, 0, all);
    if (mask && wanted)
        add_option(words, inverted,
                   {"--tcp-flags", tcp_flags_text(*mask), tcp_flags_text(*wanted)});
    else
        add(words, {"-m", "flags:" + text});
    return true;
}

// "icmp type 8" of version 1.3, "icmptype 8 code 0" and "icmp !type 8" of later ones.
bool read_icmp(Remarks& remarks, Words& words) {
    const bool joined = remarks.take("icmptype");
    if (!joined && !remarks.take("icmp")) return false;
    const bool inverted = remarks.take_inversion();
    if (!joined) remarks.take("type");
    std::string type = remarks.take_word();
    if (remarks.take("code") || remarks.take("codes")) type += "/" + remarks.take_word();
    add_option(words, inverted, {"--icmp-type", type});
    return true;
}

// "STRING match "x" ALGO name kmp TO 65535"; the pattern is "|hex|" if it is not printable.
bool read_string(Remarks& remarks, Words& words) {
    if (!remarks.take("STRING match")) return false;
    const bool inverted = remarks.take_inversion();
    const std::string pattern = remarks.take_quoted();
    const bool hexadecimal = pattern.size() > 1 && pattern[0] == '|' && pattern.ends_with('|');
    words.insert(words.end(), {"-m", "string"});
    add_option(words, inverted, {hexadecimal ? "--hex-string" : "--string", pattern});
    if (remarks.take("ALGO name")) add(words, {"--algo", remarks.take_word()});
    // The whole packet, which is the default.
    if (!remarks.take("TO 65535")) remarks.take("TO 65536");
    return true;
}

// "MAC 02:00:00:00:00:01"; some versions print no blank before the address.
bool read_mac_match(Remarks& remarks, Words& words) {
    constexpr std::string_view broadcast = "ff:ff:ff:ff:ff:ff";
    Remarks ahead = remarks;
    const bool parted = ahead.take("MAC");
    const bool inverted = parted && ahead.take_inversion();
    std::string address = ahead.take_word();
    if (!parted && address.starts_with("MAC")) address.erase(0, 3);
    const std::optional<std::string> mac = read_mac(address);
    if (!mac) return false;
    remarks = ahead;
    words.insert(words.end(), {"-m", "mac"});
    // Nobody sends from the address of everybody, so that this is a destination.
    add_option(words, inverted, {*mac == broadcast ? "--mac-dest" : "--mac-source", *mac});
    return true;
}

// A match that prints a heading, a "!" if it is inverted, and one word.
struct SimpleMatch {
    std::string_view heading;
    const char* module;
    const char* option;
};
constexpr SimpleMatch simple_matches[] = {
    {"state", "state", "--state"},
    {"mark match", "mark", "--mark"},
    {"MARK match", "mark", "--mark"},
    {"source IP range", "iprange", "--src-range"},
    {"destination IP range", "iprange", "--dst-range"},
    {"tcpmss match", "tcpmss", "--mss"},
};

bool read_simple_match(Remarks& remarks, bool inverted, Words& words) {
    for (const SimpleMatch& match : simple_matches)
        if (remarks.take(match.heading)) {
            inverted = remarks.take_inversion() || inverted;
            words.insert(words.end(), {"-m", match.module});
            add_option(words, inverted, {match.option, remarks.take_word()});
            return true;
        }
    return false;
}

// "limit: avg 5/sec burst 5"
bool read_limit(Remarks& remarks, Words& words) {
    if (!remarks.take("limit: avg")) return false;
    add(words, {"-m", "limit", "--limit", remarks.take_word()});
    if (remarks.take("burst")) add(words, {"--limit-burst", remarks.take_word()});
    return true;
}

// "random 50%" of the old match, "statistic mode random probability 0.50000000000" of the new one.
bool read_chance(Remarks& remarks, Words& words) {
    Remarks ahead = remarks;
    const bool old_form = ahead.take("random");
    if (!old_form && !ahead.take("statistic mode random probability")) return false;
    const std::string chance = ahead.take_word();
    const bool half = old_form ? chance == "50%"
                               : chance.starts_with("0.5") &&
                                     chance.find_first_not_of('0', 3) == std::string::npos;
    if (!half) return false;
    remarks = ahead;
    add(words, {"-m", "random"});
    return true;
}

bool read_match(Remarks& remarks, Words& words) {
    // Ports and flags follow the name.
    if (remarks.take("tcp") || remarks.take("udp")) return true;
    if (read_ports(remarks, words) || read_flags(remarks, words) || read_icmp(remarks, words) ||
        read_string(remarks, words) || read_mac_match(remarks, words) ||
        read_limit(remarks, words) || read_chance(remarks, words))
        return true;
    Remarks behind = remarks;
    const bool inverted = behind.take_inversion();
    if (!read_simple_match(behind, inverted, words)) return false;
    remarks = behind;
    return true;
}

// "LOG flags 0 level 4 prefix `[DOS] '"
bool read_log(Remarks& remarks, Words& words) {
    Remarks ahead = remarks;
    if (!ahead.take("LOG flags 0 level")) return false;
    add(words, {"--log-level", ahead.take_word()});
    if (ahead.take("prefix")) add(words, {"--log-prefix", ahead.take_last_quoted()});
    remarks = ahead;
    return true;
}

// What a target prints before its one word.
struct SimpleTarget {
    std::string_view target;
    std::string_view heading;
    const char* option;
};
constexpr SimpleTarget simple_targets[] = {
    {"DNAT", "to:", "--to-destination"},        {"SNAT", "to:", "--to-source"},
    {"REJECT", "reject-with", "--reject-with"}, {"MARK", "MARK set", "--set-mark"},
    {"MARK", "MARK xset", "--set-xmark"},       {"TTL", "TTL set to", "--ttl-set"},
    {"TTL", "TTL increment by", "--ttl-inc"},   {"TCPMSS", "TCPMSS set", "--set-mss"},
};

bool read_target(Remarks& remarks, std::string_view target, Words& words) {
    for (const SimpleTarget& row : simple_targets)
        if (row.target == target && remarks.take(row.heading)) {
            add(words, {row.option, remarks.take_word()});
            return true;
        }
    if (target == "TCPMSS" && remarks.take("TCPMSS clamp to PMTU")) {
        add(words, {"--clamp-mss-to-pmtu"});
        return true;
    }
    return target == "LOG" && read_log(remarks, words);
}

// Column by column; a "!" may be a word of its own.
struct Columns {
    Words words;
    std::string_view rest;
};

Columns columns_of(std::string_view line, size_t count) {
    Columns columns;
    Remarks remarks(line);
    while (columns.words.size() < count && !remarks.empty()) {
        std::string word = remarks.take_word();
        if (word == "!") word += remarks.take_word();
        columns.words.push_back(word);
    }
    columns.rest = remarks.rest();
    return columns;
}

void add_column(Words& words, const char* option, std::string text, std::string_view any) {
    if (text == any) return;
    const bool inverted = text.starts_with('!');
    if (inverted) text.erase(0, 1);
    add_option(words, inverted, {option, text});
}

bool is_fragment_column(std::string_view text) {
    return text == "--" || text == "-f" || text == "!f";
}

}  // namespace

std::optional<ListedRule> read_listed_rule(std::string_view line) {
    // packets, bytes, target, protocol, fragments, in, out, source, destination
    constexpr size_t full = 9;
    Columns columns = columns_of(line, full);
    // A rule without a target has no word there.
    if (columns.words.size() >= full - 1 && is_fragment_column(columns.words[3])) {
        columns = columns_of(line, full - 1);
        columns.words.insert(columns.words.begin() + 2, "");
    }
    const Words& column = columns.words;
    if (column.size() != full || !is_fragment_column(column[4])) return std::nullopt;
    const std::optional<long long> packets = scan_number(column[0].c_str());
    if (!packets || *packets < 0) return std::nullopt;

    ListedRule rule = {.packets = static_cast<unsigned long long>(*packets), .words = {}};
    Words& words = rule.words;
    if (column[4] != "--") add_option(words, column[4] == "!f", {"-f"});
    if (column[3] != "all") add_column(words, "-p", column[3], "0");
    add_column(words, "-i", column[5], "*");
    add_column(words, "-o", column[6], "*");
    add_column(words, "-s", column[7], "0.0.0.0/0");
    add_column(words, "-d", column[8], "0.0.0.0/0");

    const std::string& target = column[2];
    Remarks remarks(columns.rest);
    const bool is_goto = remarks.take("[goto]");
    Words options;
    while (!remarks.empty() &&
           (read_target(remarks, target, options) || read_match(remarks, words))) {
    }
    if (!remarks.empty()) add(words, {"-m", std::string(remarks.rest())});
    if (!target.empty()) add(words, {is_goto ? "-g" : "-j", target});
    add(words, options);
    return rule;
}
