// For builds that check for leaks: Graphviz keeps a few bytes of a layout, and libbdd one set. Only
// leaks inside of these libraries are suppressed.

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:libgvc.so\nleak:libbdd.so\n";
}
