// The part of completion/rc.bash that does not depend on the tables.
#ifndef RC_REFERENCE_COMPLETION_FUNCTIONS_H
#define RC_REFERENCE_COMPLETION_FUNCTIONS_H

extern const char* const completion_functions;

#endif
