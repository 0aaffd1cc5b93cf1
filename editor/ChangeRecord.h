// Which parameters changed outside the editor since the UI thread last
// looked. The effect reports from any thread (the audio thread among them,
// between blocks), so recording is one atomic OR: it never blocks,
// allocates or touches a window. The UI thread takes the record on idle and
// redraws from the parameters' current values.
#pragma once

#include <atomic>
#include <cstdint>

class ChangeRecord {
public:
    static constexpr int kCapacity = 64;

    void MarkParameter(int index) {
        if (index >= 0 && index < kCapacity)
            m_parameters.fetch_or(uint64_t(1) << index, std::memory_order_release);
    }
    void MarkModified() { m_modified.store(true, std::memory_order_release); }

    // Takes what has been recorded and clears it.
    uint64_t TakeParameters() { return m_parameters.exchange(0, std::memory_order_acquire); }
    bool TakeModified() { return m_modified.exchange(false, std::memory_order_acquire); }
    void Clear() {
        TakeParameters();
        TakeModified();
    }

private:
    std::atomic<uint64_t> m_parameters{0};
    std::atomic<bool> m_modified{false};
};
