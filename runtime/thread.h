/// @file
/// Worker threads with a cooperative stop request.
#ifndef TORVIK_RUNTIME_THREAD_H
#define TORVIK_RUNTIME_THREAD_H

#include <atomic>
#include <pthread.h>

#include "api/cam_export.h"

/// Base of every worker. A subclass implements Run, which polls StopRequested
/// and returns soon after it became true, and calls Stop in its own destructor,
/// so that the thread has ended before the subclass's members die.
///
/// Start and Stop are called by the owner of the object, one thread at a time.
/// Stop may also be called by the worker on itself: it then only sets the
/// request. A detached worker may delete its own object at the end of Run;
/// nothing touches an object after its Run.
class CAM_API pThread
{
public:
    /// Starts no thread yet.
    ///
    /// @param detached   nobody waits for the thread; Stop cancels it
    /// @param stackSize  in bytes; 0 or less keeps the system's default
    pThread(bool detached, int stackSize);
    pThread(const pThread&) = delete;
    pThread& operator=(const pThread&) = delete;

    /// The worker's body, called once on the new thread.
    virtual void Run() = 0;
    virtual ~pThread();
    /// Sets the stop request and waits until Run has returned (joinable), or
    /// cancels the thread (detached). Nothing without a thread.
    virtual void Stop();

    /// Starts Run on a new thread at the highest priority the process may have
    /// (the calling thread gets it too). A worker that runs is not started a
    /// second time, but its stop request is taken back; one whose Run has
    /// returned is started again. To tell the two apart it may wait for some
    /// milliseconds.
    ///
    /// @param name  ignored
    /// @return 0, or the system's error number, and then there is no thread
    int Start(const char* name);

    /// Tells the worker from its owner.
    ///
    /// @return true on the worker itself
    bool IsCurrentThread() const;
    /// What Run polls. Any thread.
    ///
    /// @return true since Stop
    bool StopRequested() const { return m_stop_requested.load(std::memory_order_acquire); }

    /// Sleeps.
    ///
    /// @param ms  milliseconds
    /// @return that of nanosleep: 0, or -1 when a signal ended it early
    static int Sleep(unsigned int ms);
    /// What the new thread executes: the call of Run.
    ///
    /// @param self  the pThread
    /// @return always null
    static void* thread_func(void* self);

protected:
    /// The request of Stop alone. Any thread.
    void RequestStop() { m_stop_requested = true; }

private:
    bool StillRuns() const;
    void Join();
    int Create(const pthread_attr_t& attributes);

    // Their order is part of the binary interface. All but m_thread are atomic or
    // constant after construction.

    /// Written by the owner in Start, before the new thread may look at it, and
    /// to be read while m_has_thread says that it is valid.
    pthread_t m_thread;
    std::atomic<bool> m_stop_requested;
    std::atomic<bool> m_running;
    const bool m_detached;
    std::atomic<bool> m_has_thread;  ///< m_thread was started and neither joined nor stopped
    const int m_stack_size;
};

#endif
