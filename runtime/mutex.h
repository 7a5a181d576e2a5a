// Mutexes.
#ifndef TORVIK_RUNTIME_MUTEX_H
#define TORVIK_RUNTIME_MUTEX_H

#include <pthread.h>

#include "runtime/thread_annotations.h"

/// A recursive mutex. Failures of the system calls go to the fatal hook and
/// are otherwise ignored.
class CAPABILITY("mutex") pMutex
{
public:
    pMutex();
    ~pMutex();
    pMutex(const pMutex&) = delete;
    pMutex& operator=(const pMutex&) = delete;

    bool Acquire() ACQUIRE();  ///< always true
    /// False when another thread holds it; a lock that fails counts as taken, as
    /// in Acquire. At the end of the process the mutexes of the library itself
    /// are gone before the last threads are, and nobody may wait for them.
    bool TryAcquire() TRY_ACQUIRE(true);
    void Release() RELEASE();
    pthread_mutex_t* Native() { return &m_mutex; }

private:
    pthread_mutex_t m_mutex;
};

/// A plain mutex: locking it twice on one thread blocks.
class CAPABILITY("mutex") CamMutex
{
public:
    CamMutex();
    virtual ~CamMutex();
    CamMutex(const CamMutex&) = delete;
    CamMutex& operator=(const CamMutex&) = delete;

    bool Create() { return true; }
    void Destroy() {}
    void Lock() ACQUIRE();
    void Unlock() RELEASE();

private:
    pthread_mutex_t m_mutex;
};

/// Holds a pMutex for a scope.
class SCOPED_CAPABILITY MutexGuard
{
public:
    explicit MutexGuard(pMutex& mutex) ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.Acquire(); }
    ~MutexGuard() RELEASE() { m_mutex.Release(); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;

private:
    pMutex& m_mutex;
};

/// Holds two pMutexes for a scope. Takes `first` and then `second`, but never
/// waits for one while it holds the other: so it cannot block, for good,
/// another thread that took them the other way round. Released in reverse. For
/// the compiler it takes them in the order in which they are given.
class SCOPED_CAPABILITY MutexPairGuard
{
public:
    MutexPairGuard(pMutex& first, pMutex& second) ACQUIRE(first, second)
        : m_first(first), m_second(second)
    {
        for (;;) {
            m_first.Acquire();
            if (m_second.TryAcquire())
                return;
            m_first.Release();
            // Sleeps until the other owner is done instead of spinning.
            m_second.Acquire();
            if (m_first.TryAcquire())
                return;
            m_second.Release();
        }
    }
    ~MutexPairGuard() RELEASE()
    {
        m_second.Release();
        m_first.Release();
    }
    MutexPairGuard(const MutexPairGuard&) = delete;
    MutexPairGuard& operator=(const MutexPairGuard&) = delete;

private:
    pMutex& m_first;
    pMutex& m_second;
};

/// Holds a CamMutex for a scope.
class SCOPED_CAPABILITY CamMutexGuard
{
public:
    explicit CamMutexGuard(CamMutex& mutex) ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.Lock(); }
    ~CamMutexGuard() RELEASE() { m_mutex.Unlock(); }
    CamMutexGuard(const CamMutexGuard&) = delete;
    CamMutexGuard& operator=(const CamMutexGuard&) = delete;

private:
    CamMutex& m_mutex;
};

#endif
