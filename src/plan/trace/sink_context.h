// What a sink's line says in general: which parts of it other settings give, which ones nobody can
// tell from settings, and what has to hold of other settings for rc to write the line. Found by
// playing the run that wrote it again with one other setting changed at a time.
#ifndef RC_PLAN_TRACE_SINK_CONTEXT_H
#define RC_PLAN_TRACE_SINK_CONTEXT_H

#include <string>
#include <vector>

#include "plan/router/plan.h"
#include "plan/trace/marked_value.h"

// A run in which a setting's marked text came out in a line.
struct SinkWitness {
    World router;
    std::vector<std::string> words;
    std::string key;
    MarkedValue marked;
    // Of the marked value, what the line holds.
    std::string carried;
    // That is all of the value, or of the record's field.
    bool whole = false;
    // "command", or the path of a file; a shell reads the line.
    std::string place;
    bool shell = true;
    // The line, with a byte \x01 where the text stands.
    std::string line;
};

struct SinkContext {
    // As nvram::Sink has them.
    std::string line;
    std::string when;
};

SinkContext context_of(const SinkWitness& witness);

#endif
