// Mutexes.
#ifndef TORVIK_RUNTIME_MUTEX_H
#define TORVIK_RUNTIME_MUTEX_H

#include <pthread.h>

/// A recursive mutex. Failures of the system calls go to the fatal hook and
/// are otherwise ignored.
class pMutex
{
public:
    pMutex();
    ~pMutex();
    pMutex(const pMutex&) = delete;
    pMutex& operator=(const pMutex&) = delete;

    bool Acquire();  ///< always true
    void Release();
    pthread_mutex_t* Native() { return &m_mutex; }

private:
    pthread_mutex_t m_mutex;
};

/// A plain mutex: locking it twice on one thread blocks.
class CamMutex
{
public:
    CamMutex();
    virtual ~CamMutex();
    CamMutex(const CamMutex&) = delete;
    CamMutex& operator=(const CamMutex&) = delete;

    bool Create() { return true; }
    void Destroy() {}
    void Lock();
    void Unlock();

private:
    pthread_mutex_t m_mutex;
};

/// Holds a pMutex for a scope.
class MutexGuard
{
public:
    explicit MutexGuard(pMutex& mutex) : m_mutex(mutex) { m_mutex.Acquire(); }
    ~MutexGuard() { m_mutex.Release(); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;

private:
    pMutex& m_mutex;
};

/// Holds a CamMutex for a scope.
class CamMutexGuard
{
public:
    explicit CamMutexGuard(CamMutex& mutex) : m_mutex(mutex) { m_mutex.Lock(); }
    ~CamMutexGuard() { m_mutex.Unlock(); }
    CamMutexGuard(const CamMutexGuard&) = delete;
    CamMutexGuard& operator=(const CamMutexGuard&) = delete;

private:
    CamMutex& m_mutex;
};

#endif
