// The dates on pages.
#ifndef RC_RCPLAN_PAGE_DATE_H
#define RC_RCPLAN_PAGE_DATE_H

#include <string>

// Seconds since 1970 as "2026-07-01 10:30 UTC".
std::string date_text(long long seconds);

// The present. SOURCE_DATE_EPOCH, if it is set, replaces the clock, so that a page can be made
// again byte for byte.
std::string page_date();

#endif
