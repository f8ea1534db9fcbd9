// Options of the address sanitizer for all fuzzers: keeping a long stack of each of the many
// allocations takes a tenth of the time. ASAN_OPTIONS=malloc_context_size=30 shows more of a
// finding.

extern "C" const char* __asan_default_options() {
    return "malloc_context_size=4";
}
