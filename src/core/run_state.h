// State that a run keeps in memory between its steps. Each of several nested runs in one process
// has its own.
#ifndef RC_CORE_RUN_STATE_H
#define RC_CORE_RUN_STATE_H

struct RunState {
    // WDS peers in the radio's settings, counted while the driver's file is written.
    int wds_peer_count = 0;
};

RunState& run_state();

// Makes a fresh state the current one, as long as this object lives.
class FreshRunState {
  public:
    FreshRunState();
    ~FreshRunState();
    FreshRunState(const FreshRunState&) = delete;
    FreshRunState& operator=(const FreshRunState&) = delete;

  private:
    RunState outer_;
};

#endif
