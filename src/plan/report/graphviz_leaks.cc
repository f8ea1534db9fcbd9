// For builds that check for leaks: Graphviz keeps a few bytes of a layout. Only leaks inside
// Graphviz are suppressed.

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:libgvc.so\n";
}
