// A self-contained thread class that runs a Runnable.
#ifndef TORVIK_RUNTIME_RUNNABLE_THREAD_H
#define TORVIK_RUNTIME_RUNNABLE_THREAD_H

#include <atomic>
#include <pthread.h>
#include <sched.h>

class Runnable
{
public:
    virtual void run() = 0;
    virtual ~Runnable() = default;
};

/// Runs a Runnable, or its own overridden run. The object must outlive its
/// thread.
class CThread : public Runnable
{
public:
    CThread();
    explicit CThread(Runnable* target);
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    void run() override;
    ~CThread() override;

    /// True when the thread was created.
    bool start();
    /// Waits for the thread to end, if one was started.
    void join();
    /// 0 waits without limit; otherwise polls every 100 microseconds, `ms`
    /// times at most (polls are counted, not milliseconds).
    void join(unsigned long ms);

    pthread_t getThreadID() const { return m_thread_id; }
    /// 0 created, 1 running, -1 finished.
    int getState() const { return m_state; }
    /// Priority in the attributes of threads started from now on.
    int getThreadPriority() const;
    void setThreadPriority(int priority);
    /// True for system contention scope, false for process.
    bool getThreadScope() const;
    void setThreadScope(bool system);
    /// True when called on the thread that `thread` runs.
    bool isEquals(CThread* thread) const;
    bool operator==(const CThread* thread) const;

    static pthread_t getCurrentThreadID() { return pthread_self(); }
    static int getNextThreadNum() { return threadInitNumber++; }

private:
    static void* StartRoutine(void* self);

    static std::atomic<int> threadInitNumber;

    // Constant after construction.
    const int m_number;
    Runnable* const m_target;
    // The owner's, which starts and joins.
    pthread_t m_handle;
    bool m_joinable;  ///< m_handle names a thread nobody joined yet
    // Atomic: written by the thread.
    std::atomic<pthread_t> m_thread_id;  ///< 0 when not running
    std::atomic<int> m_state;
    // The owner's.
    pthread_attr_t m_attributes;
    sched_param m_scheduling;
};

#endif
