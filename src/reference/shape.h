// The shape of a record, split into fields and separators.
#ifndef RC_REFERENCE_SHAPE_H
#define RC_REFERENCE_SHAPE_H

#include <string_view>
#include <vector>

#include "settings/table.h"

// A field and the separator before it.
struct ShapePiece {
    std::string_view before;
    const nvram::Field* field;
};

struct Shape {
    std::vector<ShapePiece> pieces;
    std::string_view end;  // the text after the last field
};

// Throws std::invalid_argument if a field's name is not in the shape, in order.
Shape take_apart(const nvram::Record& record);

#endif
