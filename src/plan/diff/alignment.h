// The events and lines that two transcripts have in common.
#ifndef RC_PLAN_DIFF_ALIGNMENT_H
#define RC_PLAN_DIFF_ALIGNMENT_H

#include <vector>

#include "plan/router/transcript.h"

// An event that two transcripts have in common: the same text, but the body may differ. Prints that
// correspond count as one event.
struct SharedEvent {
    size_t a = 0;
    size_t b = 0;
};

// For each event, for each of its event_lines(): true if the other transcript has the line too.
using KeptLines = std::vector<std::vector<bool>>;

struct Alignment {
    std::vector<SharedEvent> shared;
    KeptLines a;
    KeptLines b;
};

// Identical events are matched before events that have only their own text in common.
Alignment align(const Transcript& a, const Transcript& b);

bool same_events(const Transcript& a, const Transcript& b);

#endif
