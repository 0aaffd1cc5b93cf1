// CCriticalSection is recursive, and CSingleLock holds it for its scope.
#include <gtest/gtest.h>

#include <thread>

#include "toolkit/CCriticalSection.h"

TEST(ToolkitLock, SingleLockExcludesOtherThreadsForItsScope) {
    CCriticalSection section;
    long counter = 0;  // deliberately not atomic: only the lock keeps it exact
    const int kRounds = 200000;
    auto work = [&] {
        for (int i = 0; i < kRounds; ++i) {
            CSingleLock hold(section);
            CSingleLock again(section);  // nested, as a locked setter calling another
            ++counter;
        }
    };
    std::thread a(work), b(work);
    a.join();
    b.join();
    EXPECT_EQ(counter, 2L * kRounds);
}
