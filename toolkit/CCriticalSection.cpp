#include "toolkit/CCriticalSection.h"

CCriticalSection::CCriticalSection() {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

CCriticalSection::~CCriticalSection() { pthread_mutex_destroy(&m_mutex); }

bool CCriticalSection::Lock() {
    pthread_mutex_lock(&m_mutex);
    return true;
}

bool CCriticalSection::Unlock() {
    pthread_mutex_unlock(&m_mutex);
    return true;
}
