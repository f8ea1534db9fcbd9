// What every page of the report has to be.
#ifndef RC_TESTS_SOUND_PAGE_H
#define RC_TESTS_SOUND_PAGE_H

#include <string>

// The page has only markup that the report itself writes, each id once, and a target for each link.
void expect_sound(const std::string& html);

#endif
