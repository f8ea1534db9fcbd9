// The dates on pages, in UTC.

#include "rcplan/page_date.h"

#include <stdlib.h>
#include <time.h>

#include <optional>

#include "core/text.h"

std::string date_text(long long seconds) {
    const auto moment = static_cast<time_t>(seconds);
    tm utc = {};
    gmtime_r(&moment, &utc);
    char text[64];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", &utc);
    return text;
}

std::string page_date() {
    const char* const stated = getenv("SOURCE_DATE_EPOCH");
    const std::optional<long long> seconds = stated ? scan_number(stated) : std::nullopt;
    return date_text(seconds ? *seconds : static_cast<long long>(time(nullptr)));
}
