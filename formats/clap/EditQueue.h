// The editor's gestures on their way to the host: the UI thread pushes, the
// thread that runs process or flush takes them and puts them into the
// host's output list. One writer, one reader, a fixed ring: nothing here
// waits or allocates.
#pragma once

#include <atomic>
#include <cstdint>

class EditQueue {
public:
    enum Kind : uint8_t { kBegin, kValue, kEnd };
    struct Edit {
        Kind kind;
        uint16_t index;
        float value;  // normalised, for kValue
    };

    // UI thread. False when the ring is full (the reader has not run for
    // thousands of edits): the edit is dropped.
    bool Push(const Edit& edit) {
        const uint32_t end = written.load(std::memory_order_relaxed);
        if (end - taken.load(std::memory_order_acquire) == kSize) return false;
        ring[end % kSize] = edit;
        written.store(end + 1, std::memory_order_release);
        return true;
    }

    // Reader: take(edit) for every edit pushed so far, oldest first.
    template <class Take>
    void Drain(Take take) {
        const uint32_t end = written.load(std::memory_order_acquire);
        uint32_t next = taken.load(std::memory_order_relaxed);
        for (; next != end; next++) take(ring[next % kSize]);
        taken.store(next, std::memory_order_release);
    }

private:
    static constexpr uint32_t kSize = 4096;
    Edit ring[kSize];
    std::atomic<uint32_t> written{0}, taken{0};
};
