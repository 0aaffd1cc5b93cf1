// The host's parameter changes for one block, handed to SplitRenderer in the
// order of their sample offsets: each point takes effect at its frame, as a
// step (the slice before it keeps the old value). Audio thread; reads the
// host's queues in place, allocates nothing.
#pragma once

#include <climits>

#include "formats/vst3/Vst3Abi.h"

// apply(id, value) is called for each point, in time order.
template <class Apply>
class QueuedChanges {
public:
    // A host sends one queue per parameter; queues beyond this many are not read.
    static constexpr int kMaxQueues = 128;
    static constexpr int kNone = INT_MAX;

    QueuedChanges(vst3::IParameterChanges* changes, Apply apply) : apply(apply) {
        const int32_t count = changes ? changes->getParameterCount() : 0;
        for (int32_t i = 0; i < count && used < kMaxQueues; i++) {
            vst3::IParamValueQueue* queue = changes->getParameterData(i);
            if (!queue) continue;
            Cursor cursor{queue, queue->getParameterId(), queue->getPointCount(), 0, 0, 0.0};
            if (cursor.points > 0 && Read(cursor)) cursors[used++] = cursor;
        }
    }

    int NextFrame() const {
        int next = kNone;
        for (int i = 0; i < used; i++)
            if (cursors[i].next < cursors[i].points && cursors[i].offset < next) next = cursors[i].offset;
        return next;
    }

    void ApplyAt(int frame) {
        for (int i = 0; i < used; i++) {
            Cursor& cursor = cursors[i];
            while (cursor.next < cursor.points && cursor.offset <= frame) {
                apply(cursor.id, cursor.value);
                if (++cursor.next < cursor.points && !Read(cursor)) cursor.next = cursor.points;
            }
        }
    }

private:
    struct Cursor {
        vst3::IParamValueQueue* queue;
        vst3::ParamID id;
        int32_t points;
        int32_t next;
        int32_t offset;
        double value;
    };

    static bool Read(Cursor& cursor) {
        return cursor.queue->getPoint(cursor.next, cursor.offset, cursor.value) == vst3::kResultOk;
    }

    Apply apply;
    Cursor cursors[kMaxQueues];
    int used = 0;
};
