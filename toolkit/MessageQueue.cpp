#include "toolkit/MessageQueue.h"

#include <chrono>
#include <mutex>
#include <vector>

#include "toolkit/CWnd.h"
#include "toolkit/UIConnection.h"

namespace MessageQueue {
namespace {

struct PostedMessage {
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

// The ring: write counts every post, read every record taken; the slot of a
// count is count % kRingSize, so the index wraps from 255 to 0.
struct Ring {
    std::mutex mutex;
    PostedMessage slots[kRingSize];
    uint64_t written = 0;
    uint64_t read = 0;
};

Ring& TheRing() {
    static Ring ring;
    return ring;
}

struct Timer {
    HWND window;
    UINT_PTR id;
    UINT periodMs;
    TIMERPROC proc;
    int64_t dueMs;
};

struct Timers {
    std::mutex mutex;
    std::vector<Timer> list;
};

Timers& TheTimers() {
    static Timers timers;
    return timers;
}

int64_t NowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

void Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    Ring& ring = TheRing();
    {
        std::lock_guard<std::mutex> lock(ring.mutex);
        ring.slots[ring.written % kRingSize] = PostedMessage{window, message, wParam, lParam};
        ++ring.written;
        if (ring.written - ring.read > static_cast<uint64_t>(kRingSize))
            ring.read = ring.written - kRingSize;
    }
    UIConnection::WakeAll();
}

int DeliverPosted() {
    Ring& ring = TheRing();
    uint64_t end;
    {
        std::lock_guard<std::mutex> lock(ring.mutex);
        end = ring.written;
    }
    int delivered = 0;
    for (;;) {
        PostedMessage record;
        {
            std::lock_guard<std::mutex> lock(ring.mutex);
            // Posts made while delivering wait for the next pump, so a
            // handler that posts again cannot keep this loop going.
            if (ring.read >= end || ring.read >= ring.written) break;
            record = ring.slots[ring.read % kRingSize];
            ++ring.read;
        }
        if (CWnd* window = CWnd::FromHandle(record.window)) {
            window->SendMessage(record.message, record.wParam, record.lParam);
            ++delivered;
        }
    }
    return delivered;
}

int PendingPosts() {
    Ring& ring = TheRing();
    std::lock_guard<std::mutex> lock(ring.mutex);
    return static_cast<int>(ring.written - ring.read);
}

UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT periodMs, TIMERPROC proc) {
    if (!window) return 0;
    Timers& timers = TheTimers();
    {
        std::lock_guard<std::mutex> lock(timers.mutex);
        if (id == 0) {
            // Win32 hands out an id of its own for a zero one.
            auto taken = [&](UINT_PTR candidate) {
                for (const Timer& t : timers.list)
                    if (t.window == window && t.id == candidate) return true;
                return false;
            };
            for (id = 0x7F00; taken(id);) ++id;
        }
        const int64_t due = NowMs() + periodMs;
        bool found = false;
        for (Timer& t : timers.list) {
            if (t.window == window && t.id == id) {
                t = Timer{window, id, periodMs, proc, due};
                found = true;
            }
        }
        if (!found) timers.list.push_back(Timer{window, id, periodMs, proc, due});
    }
    UIConnection::WakeAll();
    return id;
}

bool KillTimer(HWND window, UINT_PTR id) {
    Timers& timers = TheTimers();
    std::lock_guard<std::mutex> lock(timers.mutex);
    for (auto it = timers.list.begin(); it != timers.list.end(); ++it) {
        if (it->window == window && it->id == id) {
            timers.list.erase(it);
            return true;
        }
    }
    return false;
}

void KillTimers(HWND window) {
    Timers& timers = TheTimers();
    std::lock_guard<std::mutex> lock(timers.mutex);
    for (auto it = timers.list.begin(); it != timers.list.end();) {
        if (it->window == window)
            it = timers.list.erase(it);
        else
            ++it;
    }
}

int FireDueTimers() {
    Timers& timers = TheTimers();
    std::vector<Timer> due;
    const int64_t now = NowMs();
    {
        std::lock_guard<std::mutex> lock(timers.mutex);
        for (Timer& t : timers.list) {
            if (t.dueMs <= now) {
                due.push_back(t);
                // A late pump fires once, then keeps the period from now
                // (a zero period fires at every pump).
                t.dueMs = now + t.periodMs;
            }
        }
    }
    int fired = 0;
    for (const Timer& t : due) {
        {
            // An earlier handler may have killed this timer.
            std::lock_guard<std::mutex> lock(timers.mutex);
            bool alive = false;
            for (const Timer& live : timers.list)
                if (live.window == t.window && live.id == t.id) alive = true;
            if (!alive) continue;
        }
        CWnd* window = CWnd::FromHandle(t.window);
        if (!window) continue;
        if (t.proc)
            t.proc(t.window, WM_TIMER, t.id, static_cast<DWORD>(now));
        else
            window->SendMessage(WM_TIMER, t.id, 0);
        ++fired;
    }
    return fired;
}

int MillisecondsToNextTimer() {
    Timers& timers = TheTimers();
    std::lock_guard<std::mutex> lock(timers.mutex);
    if (timers.list.empty()) return -1;
    int64_t next = timers.list.front().dueMs;
    for (const Timer& t : timers.list)
        if (t.dueMs < next) next = t.dueMs;
    const int64_t wait = next - NowMs();
    return wait < 0 ? 0 : static_cast<int>(wait > 1000000 ? 1000000 : wait);
}

}  // namespace MessageQueue
