// How all fuzzers run the address sanitizer: allocations are many, and keeping a long stack of each
// takes a tenth of the time. ASAN_OPTIONS=malloc_context_size=30 shows more of a finding.

extern "C" const char* __asan_default_options() {
    return "malloc_context_size=4";
}
