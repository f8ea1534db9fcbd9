// The files that a run leaves behind, as lines, each with the places in the transcript that made
// it.
#ifndef RC_PLAN_TRACE_PRODUCED_H
#define RC_PLAN_TRACE_PRODUCED_H

#include <string>
#include <vector>

#include "plan/router/lines.h"
#include "plan/router/plan.h"

struct FileLine {
    std::string text;
    // None when the line was there before; several when it was written in pieces.
    std::vector<Origin> origins;
};

struct ProducedFile {
    std::string path;
    std::vector<FileLine> lines;
    // The last line ends in a newline.
    bool ended = true;

    // Whether it holds a zero byte: transcripts show such a content in hexadecimal.
    bool binary() const;
    // Whether it is a text image of settings.
    bool image() const;
};

// By path, as produced_files() has them.
std::vector<ProducedFile> produced_lines(const Plan& plan);

#endif
