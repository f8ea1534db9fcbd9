// States the properties that the fuzzers check.
#ifndef RC_TESTS_EXPECT_H
#define RC_TESTS_EXPECT_H

#include <stdio.h>
#include <stdlib.h>

#include <string_view>

// Ends the run with a finding if a property does not hold.
inline void expect(bool holds, const char* property) {
    if (holds) return;
    fprintf(stderr, "does not hold: %s\n", property);
    abort();
}

// The part is a view into the whole, or empty.
inline bool lies_in(std::string_view part, std::string_view whole) {
    return part.empty() || (part.data() >= whole.data() &&
                            part.data() + part.size() <= whole.data() + whole.size());
}

#endif
