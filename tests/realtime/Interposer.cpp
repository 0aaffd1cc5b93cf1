// Preloaded into the audio-thread test: counts the calls that may wait
// (allocation, locks, files, X) made by a thread while it is marked as the
// audio thread. Everything is passed on to the real functions.
// Preloaded into a JACK client, it marks the thread itself for every run of
// the client's process callback and reports the counts when the program
// ends.
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "tests/realtime/Interposer.h"

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);
}

namespace {

std::atomic<unsigned> g_counts[kWaitKinds];
__thread bool t_watching = false;

void Count(WaitKind kind) {
    if (t_watching) g_counts[kind].fetch_add(1, std::memory_order_relaxed);
}

template <class F>
F Next(const char* name) {
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void InterposerWatch(bool on) { t_watching = on; }
__attribute__((visibility("default"))) unsigned InterposerTake(int kind) {
    return g_counts[kind].exchange(0);
}

void* malloc(size_t n) { Count(kAllocation); return __libc_malloc(n); }
void* calloc(size_t n, size_t m) { Count(kAllocation); return __libc_calloc(n, m); }
void* realloc(void* p, size_t n) { Count(kAllocation); return __libc_realloc(p, n); }
void free(void* p) { if (p) Count(kAllocation); __libc_free(p); }
void* memalign(size_t a, size_t n) { Count(kAllocation); return __libc_memalign(a, n); }
void* aligned_alloc(size_t a, size_t n) { Count(kAllocation); return __libc_memalign(a, n); }
int posix_memalign(void** p, size_t a, size_t n) {
    Count(kAllocation);
    *p = __libc_memalign(a, n);
    return *p ? 0 : 12;
}

#define PASS_ON(kind, ret, name, params, args)          \
    ret name params {                                   \
        Count(kind);                                    \
        static auto real = Next<ret(*) params>(#name);  \
        return real args;                               \
    }

PASS_ON(kLock, int, pthread_mutex_lock, (pthread_mutex_t* m), (m))
PASS_ON(kLock, int, pthread_mutex_trylock, (pthread_mutex_t* m), (m))
PASS_ON(kLock, int, pthread_rwlock_rdlock, (pthread_rwlock_t* l), (l))
PASS_ON(kLock, int, pthread_rwlock_wrlock, (pthread_rwlock_t* l), (l))
PASS_ON(kLock, int, pthread_cond_wait, (pthread_cond_t* c, pthread_mutex_t* m), (c, m))
PASS_ON(kLock, int, sem_wait, (sem_t* s), (s))
PASS_ON(kFile, FILE*, fopen, (const char* p, const char* m), (p, m))
PASS_ON(kFile, ssize_t, read, (int f, void* b, size_t n), (f, b, n))
PASS_ON(kFile, ssize_t, write, (int f, const void* b, size_t n), (f, b, n))
PASS_ON(kFile, int, close, (int f), (f))
PASS_ON(kX, int, XFlush, (void* d), (d))
PASS_ON(kX, int, XSync, (void* d, int discard), (d, discard))
PASS_ON(kX, int, XPending, (void* d), (d))
PASS_ON(kX, void, XLockDisplay, (void* d), (d))

// open and openat: the mode after the flags is passed on whether or not it is there.
#define PASS_ON_OPEN(name, params, args)                \
    int name params {                                   \
        Count(kFile);                                   \
        va_list list;                                   \
        va_start(list, flags);                          \
        mode_t mode = va_arg(list, mode_t);             \
        va_end(list);                                   \
        static auto real = Next<int(*) params>(#name);  \
        return real args;                               \
    }

PASS_ON_OPEN(open, (const char* path, int flags, ...), (path, flags, mode))
PASS_ON_OPEN(openat, (int dir, const char* path, int flags, ...), (dir, path, flags, mode))

}  // extern "C"

// ------------------------------------------------------------------ JACK --

namespace {

using JackProcess = int (*)(uint32_t frames, void* arg);
struct WatchedProcess {
    JackProcess process;
    void* arg;
};
constexpr int kMaxProcesses = 8;
WatchedProcess g_processes[kMaxProcesses];
std::atomic<int> g_processCount{0};
std::atomic<unsigned long> g_watchedCycles{0};

int RunWatched(uint32_t frames, void* slot) {
    const auto* watched = static_cast<const WatchedProcess*>(slot);
    t_watching = true;
    const int result = watched->process(frames, watched->arg);
    t_watching = false;
    g_watchedCycles.fetch_add(1, std::memory_order_relaxed);
    return result;
}

__attribute__((destructor)) void ReportJackCycles() {
    if (g_processCount == 0) return;
    fprintf(stderr, "interposer: %lu process cycles: %u allocations or frees, %u lock calls, %u file calls, %u X calls\n",
            g_watchedCycles.load(), g_counts[kAllocation].load(), g_counts[kLock].load(), g_counts[kFile].load(),
            g_counts[kX].load());
}

}  // namespace

extern "C" int jack_set_process_callback(void* client, JackProcess process, void* arg) {
    static auto real = Next<int (*)(void*, JackProcess, void*)>("jack_set_process_callback");
    const int slot = g_processCount++;
    if (slot >= kMaxProcesses) return real(client, process, arg);
    g_processes[slot] = {process, arg};
    return real(client, RunWatched, &g_processes[slot]);
}
