// Entries of lists that say the same twice.
#include "check/check_parts.h"
#include "settings/records.h"

namespace nvram {

namespace {

struct Unique {
    const char* key;
    const char* field;
    Level level;
    const char* effect;
};

constexpr Unique unique_fields[] = {
    {"access_group", "mac", Level::Note, "writes the same rule twice"},
    {"fw_block_keyword", "keyword", Level::Note, "writes the same rule twice"},
    {"fw_services", "name", Level::Warning, "finds the first of a name only"},
    {"fw_services_def", "name", Level::Warning, "finds the first of a name only"},
    {"pcdb_list", "address", Level::Warning, "lets the earlier one's lease end"},
    {"pcdb_list", "mac", Level::Warning, "keeps the later one only"},
    {"wifi_access_list", "mac", Level::Note, "hands the driver the same address twice"},
};

// Case does not count in MAC addresses.
bool same_text(std::string_view one, std::string_view other) {
    return is_mac(one) ? edit_distance(one, other, 0) == 0 : one == other;
}

void check_list(Check& check, const Unique& unique) {
    const KnownSetting* const known = find_known(unique.key);
    if (known == nullptr) return;
    const std::vector<Piece> pieces = pieces_of(*known, text_of(check, unique.key));
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].field != std::string_view(unique.field) || pieces[i].text.empty()) continue;
        for (std::size_t j = 0; j < i; ++j) {
            if (pieces[j].field != pieces[i].field || !same_text(pieces[j].text, pieces[i].text))
                continue;
            add(check, unique.level, unique.key,
                {.problem = place_text(pieces[i].entry, nullptr) + " has the " + unique.field +
                            " of " + place_text(pieces[j].entry, nullptr) + ", " +
                            quoted(pieces[i].text),
                 .effect = unique.effect,
                 .cure = "one of the two"});
            break;
        }
    }
}

// Peers stand in settings of their own.
void check_peers(Check& check) {
    constexpr const char* keys[] = {"wds_list1", "wds_list2", "wds_list3", "wds_list4"};
    for (std::size_t i = 0; i < std::size(keys); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const std::string_view peer = text_of(check, keys[i]);
            if (peer.empty() || !same_text(peer, text_of(check, keys[j]))) continue;
            add(check, Level::Warning, keys[i],
                {.problem = std::string("is the peer of ") + keys[j],
                 .effect = "hands the driver the same peer twice, and brings up a link too many",
                 .cure = assignment(keys[i], "")});
            break;
        }
    }
}

}  // namespace

void check_duplicates(Check& check) {
    for (const Unique& unique : unique_fields) check_list(check, unique);
    check_peers(check);
}

}  // namespace nvram
