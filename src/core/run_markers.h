// Keeps two runs of rc apart: a marker file for each application, and a PID file for each group.
#ifndef RC_CORE_RUN_MARKERS_H
#define RC_CORE_RUN_MARKERS_H

// Marks an application as in use by this run. 1 if another run uses it and this one must do
// nothing, else 0. A null name (a whole group) has no marker.
int rc_add_running(const char* name);

// Removes an application's marker. Always 0.
int rc_remove_marker(const char* name);

// The PID file of "rc wan". Starting and stopping the WAN remove it at their end.
extern const char* const wan_pid_file;

// Terminates the older run in the PID file, if any, and writes this run's process id there.
void replace_older_run(const char* pid_file);

#endif
