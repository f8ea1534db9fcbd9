// The run-control command: its command line, and one action on one application or a whole group.
#ifndef RC_RC_RC_H
#define RC_RC_RC_H

#include "rc/apps.h"

// One run of rc. Returns the exit status.
int rc_main(int argc, char** argv);

// Prints how rc is called. The run ends with the status that this returns, 0.
int rc_usage();

// What rc_action returns when it has printed the usage, which ends the run.
constexpr int usage_printed = 2;

// Runs one action on the application of that name, or on every application of the list when name is
// null. Returns 0 when done or when skipped because another run is at it, a negative number when a
// handler failed, 1 when no entry of that name has the handler, usage_printed when there is no such
// action.
int rc_action(const rc_app* list, const char* name, const char* action);

// Each walks the list and calls its own handler. Results as for rc_action.
int rc_start(const rc_app* list, const char* name);
int rc_stop(const rc_app* list, const char* name);
int rc_create(const rc_app* list, const char* name);

#endif
