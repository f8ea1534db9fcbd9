// The run-control command: its command line, and one action on one application or a whole group.
#ifndef RC_RC_RC_H
#define RC_RC_RC_H

#include "rc/apps.h"

// One run of rc. Returns the exit status.
int rc_main(int argc, char** argv);

// Prints rc's usage. The run ends with the status that this returns, 0.
int rc_usage();

// Returned by rc_action after printing the usage, which ends the run.
constexpr int usage_printed = 2;

// Runs one action on the application of that name, or on every application of the list if name is
// null. Returns 0 if done or skipped because another run uses it, a negative number if a handler
// failed, 1 if no entry of that name has the handler, usage_printed if the action is unknown.
int rc_action(const rc_app* list, const char* name, const char* action);

// Each walks the list and calls its own handler. Results as for rc_action.
int rc_start(const rc_app* list, const char* name);
int rc_stop(const rc_app* list, const char* name);
int rc_create(const rc_app* list, const char* name);

#endif
