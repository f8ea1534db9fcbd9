// What keeps two runs of rc apart: a marker for each application, and a PID file for each group.
#ifndef RC_CORE_RUN_MARKERS_H
#define RC_CORE_RUN_MARKERS_H

// Marks an application as being worked on. 1 when another run is at it and this one must do
// nothing, else 0. A null name (a whole group) has no marker.
int rc_add_running(const char* name);

// Removes an application's marker. Always 0.
int rc_remove_marker(const char* name);

// Ends an older run that wrote its process id to the PID file, and writes this run's there.
void replace_older_run(const char* pid_file);

#endif
