// A setting's value with a marked part, which is looked for in what a run writes.
#ifndef RC_PLAN_TRACE_MARKED_VALUE_H
#define RC_PLAN_TRACE_MARKED_VALUE_H

#include <string>

#include "settings/table.h"

struct MarkedValue {
    std::string before;
    std::string text;
    std::string behind;

    std::string value() const { return before + text + behind; }
};

// A part of a value; size npos if it is not there.
struct ValuePart {
    size_t at = 0;
    size_t size = std::string::npos;
};

// The record, of a list of such records, that holds the mark.
ValuePart record_of_mark(const MarkedValue& marked, const nvram::Record& record);

// A field of that record; not the one that holds the mark.
ValuePart field_beside_mark(const MarkedValue& marked, const nvram::Record& record, size_t index);

// The value with another text in the place of a part that does not hold the mark.
MarkedValue with_part(const MarkedValue& marked, ValuePart part, const std::string& text);

#endif
