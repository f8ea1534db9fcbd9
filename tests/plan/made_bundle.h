// The archive of a router that has done what rc told it: made in memory, from the commands and
// files of its start.
#ifndef RC_TESTS_PLAN_MADE_BUNDLE_H
#define RC_TESTS_PLAN_MADE_BUNDLE_H

#include "plan/inspect/bundle.h"
#include "plan/router/settings.h"

// "/tmp/wan_uptime" and the WAN's address are there; the clock shows Friday, 2027-01-15 08:00 UTC.
Bundle made_bundle(const Settings& settings);

#endif
