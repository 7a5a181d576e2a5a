// A condition with time-outs in milliseconds.
#ifndef TORVIK_RUNTIME_SYNC_EVENT_H
#define TORVIK_RUNTIME_SYNC_EVENT_H

#include <pthread.h>
#include <time.h>

#include "runtime/mutex.h"

/// A recursive mutex and a condition variable. A trigger wakes one waiter and
/// is lost when nobody waits, so users keep their own state under the mutex
/// and check it again after every wake-up.
class pSyncEvent
{
public:
    pSyncEvent();
    ~pSyncEvent();
    pSyncEvent(const pSyncEvent&) = delete;
    pSyncEvent& operator=(const pSyncEvent&) = delete;

    /// Waits on the condition; the caller holds `mutex` once. A negative
    /// time-out waits without limit. False when the time is over.
    bool Wait(pMutex& mutex, int timeoutMs) REQUIRES(mutex);
    /// The same under the event's own mutex.
    bool Wait(int timeoutMs) EXCLUDES(m_mutex);
    /// Takes `mutex`, which the caller may hold already.
    void Trigger(pMutex& mutex);
    void Trigger();

    /// Now plus `ms` as an absolute time of the real-time clock.
    static timespec makeTimespec(int ms);

private:
    pMutex m_mutex;
    pthread_cond_t m_condition;
};

#endif
