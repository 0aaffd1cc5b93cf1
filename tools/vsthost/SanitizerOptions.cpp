// In sanitizer builds: a host keeps the leak check on its own code and the
// plug-ins' code, but fontconfig keeps a few blocks from parsing its
// configuration that nothing points to any more, whoever loaded it. Stacks
// through fontconfig (built without frame pointers) need the slow unwinder
// to show where an allocation came from.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:FcInitLoadConfigAndFonts\n";
}

extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }
