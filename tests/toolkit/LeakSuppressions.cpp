// fontconfig keeps a few blocks from parsing its configuration files that
// nothing points to any more; only those are left out of the leak check.
// Stacks through fontconfig (built without frame pointers) need the slow
// unwinder to show where an allocation came from.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:FcInitLoadConfigAndFonts\n";
}

extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }
