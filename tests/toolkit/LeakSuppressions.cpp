// fontconfig keeps a few blocks from parsing its configuration files that
// nothing points to any more; only those are left out of the leak check.
// Stacks through fontconfig (built without frame pointers) need the slow
// unwinder to show where an allocation came from. The thread-local blocks of
// a plug-in opened with dlopen are not scanned: LeakSanitizer guesses their
// size from glibc's heap layout, which ASan's allocator does not have, and
// can crash on the guess (the thread-local objects are gone before the check).
extern "C" const char* __lsan_default_suppressions() {
    return "leak:FcInitLoadConfigAndFonts\n";
}

extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0:intercept_tls_get_addr=0"; }
