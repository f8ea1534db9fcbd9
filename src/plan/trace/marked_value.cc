// The record and the fields around a marked part of a value.

#include "plan/trace/marked_value.h"

#include <algorithm>

#include "settings/records.h"

ValuePart record_of_mark(const MarkedValue& marked, const nvram::Record& record) {
    const std::string whole = marked.value();
    const std::string& before = marked.before;
    const size_t start = std::min<size_t>(record.ignored_prefix, whole.size());
    if (record.between == '\0') return {.at = start, .size = whole.size() - start};
    size_t from = start;
    const size_t separator = before.empty() ? std::string::npos : before.rfind(record.between);
    if (separator != std::string::npos && separator + 1 > start) from = separator + 1;
    const size_t end = std::min(whole.find(record.between, before.size()), whole.size());
    return {.at = from, .size = end - from};
}

ValuePart field_beside_mark(const MarkedValue& marked, const nvram::Record& record, size_t index) {
    const ValuePart whole = record_of_mark(marked, record);
    const std::string text = marked.value().substr(whole.at, whole.size);
    const std::vector<std::string_view> fields = split_fields(record, text);
    if (index >= fields.size()) return {};
    const size_t at = whole.at + static_cast<size_t>(fields[index].data() - text.data());
    const size_t size = fields[index].size();
    if (at <= marked.before.size() && marked.before.size() <= at + size) return {};
    return {.at = at, .size = size};
}

MarkedValue with_part(const MarkedValue& marked, ValuePart part, const std::string& text) {
    MarkedValue changed = marked;
    if (part.at < marked.before.size())
        changed.before.replace(part.at, part.size, text);
    else
        changed.behind.replace(part.at - marked.before.size() - marked.text.size(), part.size,
                               text);
    return changed;
}
