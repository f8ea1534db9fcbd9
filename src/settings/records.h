// Lists and records in values, walked by the shape that the table of settings gives them.
#ifndef RC_SETTINGS_RECORDS_H
#define RC_SETTINGS_RECORDS_H

#include <string>
#include <string_view>
#include <vector>

#include "settings/table.h"

namespace nvram {

// The parts are views into the value.

// The records of a value, empty ones between separators included; a separator at the end begins no
// other record.
std::vector<std::string_view> split_records(const Record& record, std::string_view value);

// The fields of one record, in the order of the shape. There are fewer when the record ends early.
std::vector<std::string_view> split_fields(const Record& record, std::string_view text);

// The place of a field by its name; the number of fields when there is none.
std::size_t field_place(const Record& record, std::string_view name);

// The texts that rc puts into lines one by one: each field of each record, or the value itself.
struct Piece {
    std::string_view text;
    unsigned entry = 0;           // counts from 1; 0 when the value is no list
    const char* field = nullptr;  // nullptr when the setting is no record
};
std::vector<Piece> pieces_of(const KnownSetting& known, std::string_view value);

// "entry 3, field protocol"; empty for a value that is no record.
std::string place_text(unsigned entry, const char* field);

}  // namespace nvram

#endif
