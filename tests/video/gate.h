// Holding threads at a known place.
#ifndef TESTS_VIDEO_GATE_H
#define TESTS_VIDEO_GATE_H

#include <condition_variable>
#include <mutex>

#include "tests/support/wait_until.h"

/// Threads wait in Pass until the gate is opened; from then on they go through.
class Gate {
public:
    ~Gate() { Open(); }

    void Pass()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        ++m_arrived;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_open; });
    }
    void Open()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    bool WaitArrived(int count = 1)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, test_support::kPatience,
                                  [&] { return m_arrived >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_arrived = 0;
    bool m_open = false;
};

#endif
