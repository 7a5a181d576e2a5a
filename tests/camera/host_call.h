// A thread of the host's that is inside one call, and what the system tells
// about threads.
#ifndef TESTS_CAMERA_HOST_CALL_H
#define TESTS_CAMERA_HOST_CALL_H

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <set>
#include <thread>

/// The process's threads. One that has been joined may be listed for a moment.
std::set<pid_t> ListedThreads();

pid_t ThisThread();
/// True when the thread is asleep and does not wake up for some time.
bool SleepsOn(pid_t thread);
/// The same of every thread but the calling one.
bool AllOthersSleepOn();

/// Makes a call on a thread of its own; the destructor waits for its return.
class HostCall {
public:
    explicit HostCall(std::function<void()> call);
    ~HostCall() { m_thread.join(); }
    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;

    std::thread::id Id() const { return m_thread.get_id(); }
    bool Returned() const { return m_returned; }
    /// A call that is not to wait for anything returns within this time.
    bool WaitReturned(std::chrono::milliseconds limit = std::chrono::seconds(10)) const;
    /// Waits until the call has returned or does not go on.
    bool WaitAtRest() const;

private:
    std::atomic<pid_t> m_number{0};
    std::atomic<bool> m_returned{false};
    std::thread m_thread;
};

#endif
