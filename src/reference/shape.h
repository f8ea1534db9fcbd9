// The shape of a record, taken apart.
#ifndef RC_REFERENCE_SHAPE_H
#define RC_REFERENCE_SHAPE_H

#include <string_view>
#include <vector>

#include "settings/table.h"

// A field and what stands before it.
struct ShapePiece {
    std::string_view before;
    const nvram::Field* field;
};

struct Shape {
    std::vector<ShapePiece> pieces;
    std::string_view end;  // what stands behind the last field
};

// Throws std::invalid_argument when a field's name is not in the shape, in its order.
Shape take_apart(const nvram::Record& record);

#endif
