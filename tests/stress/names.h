// Names shared by the parts of a stress test; paths are those inside the sealed root.
#ifndef RC_TESTS_STRESS_NAMES_H
#define RC_TESTS_STRESS_NAMES_H

namespace stress {

inline constexpr const char* real_shell = "/.sealed/busybox";
// One line "RUN: COMMAND" for each outside program that was run.
inline constexpr const char* log_file = "/.sealed/log";
// The program of this name waits at this named pipe.
inline constexpr const char* gate_prefix = "/.sealed/gate-";

// Environment: the run that a program belongs to; the seed of its delays (none without).
inline constexpr const char* run_variable = "STRESS_RUN";
inline constexpr const char* seed_variable = "STRESS_SEED";

}  // namespace stress

#endif
