// The shape of a record, split into fields and separators.
#include "reference/shape.h"

#include <stdexcept>
#include <string>

Shape take_apart(const nvram::Record& record) {
    Shape shape;
    std::string_view rest = record.shape;
    for (const nvram::Field& field : record.fields) {
        const std::string_view name = field.name;
        const size_t at = rest.find(name);
        if (at == std::string_view::npos)
            throw std::invalid_argument(std::string(record.shape) + ": no field " + field.name);
        shape.pieces.push_back({.before = rest.substr(0, at), .field = &field});
        rest.remove_prefix(at + name.size());
    }
    shape.end = rest;
    return shape;
}
