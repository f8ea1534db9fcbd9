// State that a run keeps in memory between its steps.

#include "core/run_state.h"

namespace {
RunState current;
}

RunState& run_state() {
    return current;
}

FreshRunState::FreshRunState() : outer_(current) {
    current = {};
}

FreshRunState::~FreshRunState() {
    current = outer_;
}
