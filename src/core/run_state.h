// What a run keeps in memory between its steps. Runs that nest in one process each have their own.
#ifndef RC_CORE_RUN_STATE_H
#define RC_CORE_RUN_STATE_H

struct RunState {
    // WDS peers that the radio's settings name, counted while the file is written.
    int wds_peer_count = 0;
};

RunState& run_state();

// Makes a fresh state the current one as long as this lives.
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
