// Monotonic time, and waiting on it.
#ifndef VIRTUAL_CAMERA_STANDIN_CLOCK_H
#define VIRTUAL_CAMERA_STANDIN_CLOCK_H

#include <pthread.h>
#include <time.h>

#include <cerrno>
#include <cstdint>
#include <mutex>

#include "virtual_camera/usb_device.h"

namespace vcam::standin {

inline TimeUs Now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<TimeUs>(now.tv_sec) * 1000000 + static_cast<TimeUs>(now.tv_nsec) / 1000;
}

/// `now` + `delay`, saturating at kNever.
inline TimeUs After(TimeUs now, TimeUs delay)
{
    return delay >= kNever - now ? kNever : now + delay;
}

/// Condition variable with deadlines of Now(). std::condition_variable would
/// wait on the wall clock with older standard libraries.
class MonotonicCondition {
public:
    MonotonicCondition()
    {
        pthread_condattr_t attributes;
        pthread_condattr_init(&attributes);
        pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        pthread_cond_init(&m_condition, &attributes);
        pthread_condattr_destroy(&attributes);
    }
    ~MonotonicCondition() { pthread_cond_destroy(&m_condition); }
    MonotonicCondition(const MonotonicCondition&) = delete;
    MonotonicCondition& operator=(const MonotonicCondition&) = delete;

    void NotifyAll() { pthread_cond_broadcast(&m_condition); }

    /// False when the deadline passed. The caller holds `mutex`.
    bool WaitUntil(std::mutex& mutex, TimeUs deadline)
    {
        if (deadline == kNever)
            return pthread_cond_wait(&m_condition, mutex.native_handle()) == 0;
        timespec when{};
        when.tv_sec = static_cast<time_t>(deadline / 1000000);
        when.tv_nsec = static_cast<long>(deadline % 1000000) * 1000;
        return pthread_cond_timedwait(&m_condition, mutex.native_handle(), &when) != ETIMEDOUT;
    }

private:
    pthread_cond_t m_condition;
};

/// A counter to sleep on: whoever takes its value, looks around and then waits
/// for another value misses nothing. Its lock is a leaf.
class WakeCounter {
public:
    std::uint64_t Value()
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        return m_value;
    }

    void Bump()
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        ++m_value;
        m_condition.NotifyAll();
    }

    void WaitWhile(std::uint64_t seen, TimeUs deadline)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (m_value == seen && m_condition.WaitUntil(m_mutex, deadline)) {
        }
    }

private:
    std::mutex m_mutex;
    MonotonicCondition m_condition;
    std::uint64_t m_value = 0;
};

}  // namespace vcam::standin

#endif
