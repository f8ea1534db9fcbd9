// The two application tables: the handlers that a name on the command line starts, stops and
// creates with.
#ifndef RC_RC_APPS_H
#define RC_RC_APPS_H

// A handler returns 0, or a negative number if it could not do its work.
using Handler = int (*)();

// A list of these ends with an entry whose name is null.
struct rc_app {
    const char* name;
    Handler start;
    Handler stop;
    Handler create;
};

extern const rc_app rc_apps[];
extern const rc_app rc_services[];

#endif
