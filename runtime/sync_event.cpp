#include "runtime/sync_event.h"

#include <cerrno>
#include <sys/time.h>

#include "runtime/debug_log.h"
#include "runtime/error_text.h"

pSyncEvent::pSyncEvent()
{
    const int error = pthread_cond_init(&m_condition, nullptr);
    if (error != 0)
        __FATAL("pthread_cond_init() failed (%s)\n", ErrorText(error).c_str());
}

pSyncEvent::~pSyncEvent()
{
    pthread_cond_destroy(&m_condition);
}

timespec pSyncEvent::makeTimespec(int ms)
{
    timeval now;
    gettimeofday(&now, nullptr);
    timespec deadline;
    deadline.tv_sec = now.tv_sec + ms / 1000;
    deadline.tv_nsec = static_cast<long>(now.tv_usec) * 1000 + (ms % 1000) * 1000000L;
    if (deadline.tv_nsec > 999999999L) {
        deadline.tv_nsec -= 1000000000L;
        deadline.tv_sec += 1;
    }
    return deadline;
}

bool pSyncEvent::Wait(pMutex& mutex, int timeoutMs)
{
    int error;
    if (timeoutMs < 0) {
        error = pthread_cond_wait(&m_condition, mutex.Native());
    } else {
        do {
            const timespec deadline = makeTimespec(timeoutMs);
            error = pthread_cond_timedwait(&m_condition, mutex.Native(), &deadline);
        } while (error == EINTR);
    }
    if (error == ETIMEDOUT)
        return false;
    if (error != 0) {
        __FATAL("pthread_cond_wait()/pthread_cond_timedwait() failed (%s)\n",
                ErrorText(error).c_str());
    }
    return true;
}

bool pSyncEvent::Wait(int timeoutMs)
{
    const MutexGuard guard(m_mutex);
    return Wait(m_mutex, timeoutMs);
}

void pSyncEvent::Trigger(pMutex& mutex)
{
    const MutexGuard guard(mutex);
    pthread_cond_signal(&m_condition);
}

void pSyncEvent::Trigger()
{
    Trigger(m_mutex);
}
