// A recursive lock: the same thread may take it again while holding it, so a
// thread inside the engine lock can call other locking operations of the effect.
#pragma once

#include <pthread.h>

class CCriticalSection {
public:
    CCriticalSection();
    ~CCriticalSection();
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    bool Lock();
    bool Unlock();

private:
    pthread_mutex_t m_mutex;
};

// Holds a CCriticalSection for the lifetime of a scope.
class CSingleLock {
public:
    explicit CSingleLock(CCriticalSection& section) : m_section(section) { m_section.Lock(); }
    ~CSingleLock() { m_section.Unlock(); }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

private:
    CCriticalSection& m_section;
};
