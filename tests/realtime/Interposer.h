// What the preloaded interposer counts on a thread marked as the audio thread.
#pragma once

enum WaitKind { kAllocation, kLock, kFile, kX, kWaitKinds };

extern "C" {
// Marks (or unmarks) the calling thread as the one whose calls are counted.
void InterposerWatch(bool on);
// The count of one kind since the last take, cleared.
unsigned InterposerTake(int kind);
}
