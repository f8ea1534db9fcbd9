// Which events and lines two transcripts have in common.
#ifndef RC_PLAN_DIFF_ALIGNMENT_H
#define RC_PLAN_DIFF_ALIGNMENT_H

#include <vector>

#include "plan/router/transcript.h"

// An event that two transcripts have in common: its own text, maybe not its body. Prints that stand
// for each other count as one event.
struct SharedEvent {
    size_t a = 0;
    size_t b = 0;
};

// For each event, for each of its event_lines(): whether the other transcript has it too.
using KeptLines = std::vector<std::vector<bool>>;

struct Alignment {
    std::vector<SharedEvent> shared;
    KeptLines a;
    KeptLines b;
};

// Events that are wholly the same go before such as only have their own text in common.
Alignment align(const Transcript& a, const Transcript& b);

bool same_events(const Transcript& a, const Transcript& b);

#endif
