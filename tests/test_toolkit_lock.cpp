// CCriticalSection is recursive, and CSingleLock holds it for its scope.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "toolkit/CCriticalSection.h"

TEST(ToolkitLock, LockedTwiceAndUnlockedTwiceIsFreeForAnotherThread) {
    CCriticalSection section;
    EXPECT_TRUE(section.Lock());
    EXPECT_TRUE(section.Lock());  // the same thread takes it again without blocking
    EXPECT_TRUE(section.Unlock());
    EXPECT_TRUE(section.Unlock());
    auto other = std::async(std::launch::async, [&section] {
        section.Lock();
        section.Unlock();
    });
    // A generous bound only so that a lock left held fails the test instead of hanging it.
    EXPECT_EQ(other.wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

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
