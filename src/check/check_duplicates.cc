// Duplicate entries of lists.
#include "check/check_parts.h"
#include "settings/records.h"

namespace nvram {

namespace {

// Case does not count in MAC addresses.
bool same_text(std::string_view one, std::string_view other) {
    return one == other || (is_mac(one) && same_letters(one, other));
}

void check_field(Check& check, const KnownSetting& known, const Field& field) {
    const std::vector<Piece> pieces = pieces_of(known, text_of(check, known.key));
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].field != field.name || pieces[i].text.empty()) continue;
        for (std::size_t j = 0; j < i; ++j) {
            if (pieces[j].field != pieces[i].field || !same_text(pieces[j].text, pieces[i].text))
                continue;
            add(check, field.twice_level, known.key,
                {.problem = place_text(pieces[i].entry, nullptr) + " has the " + field.name +
                            " of " + place_text(pieces[j].entry, nullptr) + ", " +
                            quoted(pieces[i].text),
                 .effect = field.twice,
                 .fix = "remove one of the two"});
            break;
        }
    }
}

void check_lists(Check& check) {
    for (const SettingGroup& group : setting_groups()) {
        for (const KnownSetting& known : group.settings) {
            if (known.record == nullptr) continue;
            for (const Field& field : known.record->fields)
                if (field.twice != nullptr) check_field(check, known, field);
        }
    }
}

// Each peer has its own setting.
void check_peers(Check& check) {
    constexpr const char* keys[] = {"wds_list1", "wds_list2", "wds_list3", "wds_list4"};
    for (std::size_t i = 0; i < std::size(keys); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const std::string_view peer = text_of(check, keys[i]);
            if (peer.empty() || !same_text(peer, text_of(check, keys[j]))) continue;
            add(check, Level::Warning, keys[i],
                {.problem = std::string("is the peer of ") + keys[j],
                 .effect = "passes the driver the same peer twice, and brings up one link too many",
                 .fix = assignment(keys[i], "")});
            break;
        }
    }
}

}  // namespace

void check_duplicates(Check& check) {
    check_lists(check);
    check_peers(check);
}

}  // namespace nvram
