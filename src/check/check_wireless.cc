// Wireless networks: names, pass phrases and WEP keys that their security needs.
#include "check/check_parts.h"
#include "settings/networks.h"

namespace nvram {

namespace {

struct Network {
    const char* name;
    const NetworkKeys& keys;
    bool own;  // a network of the access point, not one that the router joins
};

constexpr Network first_network = {
    .name = "the first network", .keys = first_network_keys, .own = true};
constexpr Network second_network = {
    .name = "the second network", .keys = second_network_keys, .own = true};
constexpr Network station = {.name = "the station", .keys = station_keys, .own = false};

// No action of rc sets up a repeater.
constexpr const char* repeater = "ssid_apcli_wds";

bool is_printable(std::string_view text) {
    // The check of forms finds control characters.
    for (const char c : text)
        if ((c < ' ' || c > '~') && !is_control(c)) return false;
    return true;
}

// 8 to 63 printable characters, or the key itself in 64 hexadecimal digits (IEEE 802.11).
const char* phrase_problem(std::string_view phrase) {
    if (phrase.empty()) return "is empty";
    if (phrase.size() == 64)
        return is_hex(phrase) ? nullptr : "has 64 characters, but not all are hexadecimal digits";
    if (phrase.size() < 8) return "is shorter than 8 characters";
    if (phrase.size() > 63) return "is longer than 63 characters";
    return is_printable(phrase) ? nullptr : "contains characters not allowed in a pass phrase";
}

void check_phrase(Check& check, const Network& network, const char* key) {
    const char* const problem = phrase_problem(text_of(check, key));
    if (problem == nullptr) return;
    add(check, Level::Error, key,
        {.problem = std::string(problem) + ", but " +
                    assignment(network.keys.mode, text_of(check, network.keys.mode)) + " needs it",
         .effect = std::string("passes it to the driver, which rejects it: ") + network.name +
                   (network.own ? " does not come up as it should" : " joins nothing"),
         .fix = "8 to 63 characters, or 64 hexadecimal digits"});
}

// The error in a WEP key of the length that the settings give; 5 and 13 are characters, all
// else is hexadecimal digits.
std::string wep_key_problem(std::string_view key, std::string_view length) {
    const bool text = length == "5" || length == "13";
    const std::size_t wanted = length == "5" ? 5 : length == "13" ? 13 : length == "26" ? 26 : 10;
    const std::string what =
        std::to_string(wanted) + (text ? " characters" : " hexadecimal digits");
    if (key.size() == wanted && (text || is_hex(key))) return "";
    return "does not have " + what;
}

std::string free_wep_key_problem(std::string_view key) {
    if (key.size() == 5 || key.size() == 13) return "";
    if ((key.size() == 10 || key.size() == 26) && is_hex(key)) return "";
    return "has neither 5 or 13 characters nor 10 or 26 hexadecimal digits";
}

void check_wep(Check& check, const Network& network) {
    if (network.own)
        add(check, Level::Warning, network.keys.mode,
            {.problem =
                 std::string("uses WEP on ") + network.name + ", which can be broken in minutes",
             .effect = "sets it up as configured",
             .fix = assignment(network.keys.mode, "3") + " with " + network.keys.wpa2_phrase});
    const std::string_view index = text_of(check, network.keys.default_key);
    for (std::size_t i = 0; i < std::size(network.keys.wep_keys); ++i) {
        const char* const key = network.keys.wep_keys[i];
        const std::string_view text = text_of(check, key);
        const bool in_use = index == std::to_string(i + 1);
        std::string problem;
        if (text.empty()) {
            if (!in_use) continue;
            problem =
                "is empty, but " + assignment(network.keys.default_key, index) + " selects it";
        } else if (network.keys.key_length != nullptr) {
            problem = wep_key_problem(text, text_of(check, network.keys.key_length));
            if (!problem.empty())
                problem +=
                    ", as " +
                    assignment(network.keys.key_length, text_of(check, network.keys.key_length)) +
                    " requires";
        } else {
            problem = free_wep_key_problem(text);
        }
        if (problem.empty()) continue;
        add(check, in_use ? Level::Error : Level::Warning, key,
            {.problem = problem,
             .effect = "passes it to the driver, which rejects it",
             .fix = "5 or 13 characters, or 10 or 26 hexadecimal digits, by the length set"});
    }
}

void check_security(Check& check, const Network& network) {
    const int mode = number_of(check, network.keys.mode);
    if (mode == 0 && network.own)
        add(check, Level::Note, network.keys.mode,
            {.problem = std::string("leaves ") + network.name + " open",
             .effect = "lets anyone in range join and listen",
             .fix = assignment(network.keys.mode, "3") + " with " + network.keys.wpa2_phrase});
    if (mode == 1) check_wep(check, network);
    if (mode == 2) check_phrase(check, network, network.keys.wpa_phrase);
    if (mode == 3 || mode == 4) check_phrase(check, network, network.keys.wpa2_phrase);
}

// In the driver's lines a semicolon separates the networks.
void check_semicolons(Check& check, const Network& network) {
    const auto refuse = [&](const char* key) {
        if (text_of(check, key).find(';') == std::string_view::npos) return;
        add(check, Level::Error, key,
            {.problem = "contains a semicolon, but enable_ssid2=1 uses two networks",
             .effect =
                 "joins both networks' texts with a semicolon, and the driver splits them there",
             .fix = "a value without a semicolon"});
    };
    refuse(network.keys.ssid);
    if (number_of(check, network.keys.mode) != 1) return;
    for (const char* const key : network.keys.wep_keys) refuse(key);
}

void check_two_networks(Check& check) {
    check_security(check, second_network);
    check_semicolons(check, first_network);
    check_semicolons(check, second_network);
    const std::string_view name = text_of(check, first_network.keys.ssid);
    if (!name.empty() && name == text_of(check, second_network.keys.ssid))
        add(check, Level::Warning, second_network.keys.ssid,
            {.problem = "is also the name of the first network",
             .effect = "sets up both under one name, and clients join either",
             .fix = "another name"});
    const int first_mode = number_of(check, first_network.keys.mode);
    const int second_mode = number_of(check, second_network.keys.mode);
    if ((second_mode == 5 || second_mode == 6) && first_mode != 5 && first_mode != 6)
        add(check, Level::Error, second_network.keys.mode,
            {.problem = "uses RADIUS, but wifi_wep_on does not",
             .effect = "starts the RADIUS client only for the first network: no client can join the"
                       " second",
             .fix = "wifi_wep_on2=3 with wifi_psk2_pwd2"});
}

void check_channel(Check& check) {
    constexpr int most_in_america = 11;
    const std::string_view region = text_of(check, "wifi_region");
    if (region != "USA" && region != "Canada") return;
    if (number_of(check, "wifi_channel") <= most_in_america) return;
    add(check, Level::Error, "wifi_channel",
        {.problem = "is not used in wifi_region=" + std::string(region),
         .effect = "passes it to the driver, whose channels end at 11 there",
         .fix = "wifi_channel=auto"});
}

// The second half of a wide channel is four channels away.
void check_wide_channel(Check& check) {
    constexpr int distance = 4;
    const int channel = number_of(check, "wifi_channel");
    if (begins_with(check, "wifi_bandwidth", '2') || channel < 1 || channel > 13) return;
    const std::string_view region = text_of(check, "wifi_region");
    const int last = region == "USA" || region == "Canada" ? 11 : 13;
    const bool above = text_of(check, "e_channel") == "1";
    if (!above && text_of(check, "e_channel") != "0") return;
    const int second = above ? channel + distance : channel - distance;
    if (second >= 1 && second <= last) return;
    add(check, Level::Error, "e_channel",
        {.problem = std::string("puts the second half of channel ") + std::to_string(channel) +
                    (above ? " above it" : " below it") + ", where there is no channel",
         .effect = std::string("writes into /var/RT2860AP.dat: HT_EXTCHA=") + (above ? "1" : "0"),
         .fix = above ? "e_channel=0" : "e_channel=1"});
}

void check_wmm(Check& check, const char* key) {
    constexpr std::size_t wanted = 16;
    const std::string_view text = text_of(check, key);
    std::size_t numbers = 1;
    for (const char c : text) numbers += c == '_' ? 1 : 0;
    if (text.empty() || numbers >= wanted) return;
    const KnownSetting* const known = find_known(key);
    add(check, Level::Error, key,
        {.problem =
             "has " + std::to_string(numbers) + " numbers; expected " + std::to_string(wanted),
         .effect = "uses 0 for the missing ones",
         .fix = assignment(key, known == nullptr ? "" : known->factory)});
}

}  // namespace

void check_wireless(Check& check) {
    check_wmm(check, "wifi_wmm_ap");
    check_wmm(check, "wifi_wmm_sta");
    if (!text_of(check, repeater).empty())
        add(check, Level::Note, repeater,
            {.problem = "has no effect, like all settings of the repeater",
             .effect = "has no action that sets up a repeater",
             .fix = ""});
    if (is_on(check, "wifi_ap_mode") && begins_with(check, "ap_mode", '0')) {
        check_security(check, station);
        return;
    }
    if (begins_with(check, "wifi_dot11_mode", '0')) return;
    check_security(check, first_network);
    if (is_on(check, "enable_ssid2")) check_two_networks(check);
    check_channel(check);
    check_wide_channel(check);
}

}  // namespace nvram
