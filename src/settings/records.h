// Lists and records in values, walked by the shape that the table of settings gives them.
#ifndef RC_SETTINGS_RECORDS_H
#define RC_SETTINGS_RECORDS_H

#include <string>
#include <string_view>
#include <vector>

#include "settings/table.h"

namespace nvram {

// The words of a choice.
std::vector<std::string_view> words_of(const char* choices);

// All results are views into the value.

// The records of a value, including empty ones between separators; a separator at the end starts no
// other record.
std::vector<std::string_view> split_records(const Record& record, std::string_view value);

// The fields of one record, in the order of the shape; fewer if the record ends early.
std::vector<std::string_view> split_fields(const Record& record, std::string_view text);

// The index of a field by its name; the number of fields if there is no such field.
std::size_t field_place(const Record& record, std::string_view name);

// The texts that rc writes into lines one by one: each field of each record, or the whole value.
struct Piece {
    std::string_view text;
    unsigned entry = 0;            // counts from 1; 0 if the value is not a list
    const char* field = nullptr;   // nullptr if the setting has no records
    std::string_view record = {};  // the whole entry
};
std::vector<Piece> pieces_of(const KnownSetting& known, std::string_view value);

// "entry 3, field protocol"; empty for a value without records.
std::string place_text(unsigned entry, const char* field);

}  // namespace nvram

#endif
