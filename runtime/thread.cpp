#include "runtime/thread.h"

#include <cerrno>
#include <time.h>

#include "runtime/debug_log.h"
#include "runtime/error_text.h"
#include "runtime/sleep.h"
#include "runtime/started_threads.h"
#include "runtime/thread_annotations.h"
#include "runtime/thread_priority.h"

namespace {

/// How long Start watches a worker that runs: it may be on its last
/// instructions.
constexpr int kReturnPolls = 10;
constexpr unsigned long kReturnPollMs = 1;

// Held by Start until it has finished with the object, and taken once by every
// new thread before its body runs: a detached worker may delete its object at
// any moment after that.
struct CAPABILITY("mutex") StartGateMutex {
    pthread_mutex_t mutex;
};
StartGateMutex g_start_gate = {PTHREAD_MUTEX_INITIALIZER};

StartedThreads g_threads GUARDED_BY(g_start_gate);

class SCOPED_CAPABILITY StartGate
{
public:
    StartGate() ACQUIRE(g_start_gate) { pthread_mutex_lock(&g_start_gate.mutex); }
    ~StartGate() RELEASE() { pthread_mutex_unlock(&g_start_gate.mutex); }
    StartGate(const StartGate&) = delete;
    StartGate& operator=(const StartGate&) = delete;
};

}  // namespace

// Exported workers are allocated by hosts, so their size is part of the binary
// interface.
static_assert(sizeof(pThread) == 2 * sizeof(void*) + 8, "four flags and the stack size");

pThread::pThread(bool detached, int stackSize)
    : m_thread(),
      m_stop_requested(false),
      m_running(false),
      m_detached(detached),
      m_has_thread(false),
      m_stack_size(stackSize)
{
}

pThread::~pThread()
{
    if (m_running)
        pThread::Stop();
    if (m_has_thread) {
        // The worker deletes itself.
        const StartGate gate;
        g_threads.Abandon(this, pthread_self());
    }
}

bool pThread::IsCurrentThread() const
{
    if (!m_has_thread || pthread_equal(m_thread, pthread_self()) == 0)
        return false;
    // The id of a detached thread that has ended may be the caller's now.
    const StartGate gate;
    return g_threads.Runs(this, pthread_self());
}

bool pThread::StillRuns() const
{
    if (!m_has_thread)
        return false;
    for (int polls = 0;; ++polls) {
        {
            const StartGate gate;
            if (!g_threads.Runs(this, m_thread))
                return false;
        }
        if (polls == kReturnPolls || pthread_equal(m_thread, pthread_self()) != 0)
            return true;
        SleepMilliseconds(kReturnPollMs);
    }
}

void pThread::Join()
{
    pthread_join(m_thread, nullptr);
    const StartGate gate;
    g_threads.Remove(this, m_thread);
}

int pThread::Start(const char*)
{
    m_stop_requested = false;
    m_running = true;
    if (StillRuns())
        return 0;
    if (m_has_thread && !m_detached)
        Join();
    m_has_thread = false;

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    if (m_stack_size > 0)
        pthread_attr_setstacksize(&attributes, static_cast<size_t>(m_stack_size));
    RaiseThreadPriority();

    const int error = Create(attributes);
    if (error != 0)
        __FATAL("pthread_create() failed (%s)\n", ErrorText(error).c_str());
    pthread_attr_destroy(&attributes);
    return error;
}

int pThread::Create(const pthread_attr_t& attributes)
{
    const StartGate gate;
    auto* const entry = g_threads.MakeEntry(
        this, m_detached ? StartedThreads::Ending::kForgotten : StartedThreads::Ending::kKept);
    if (entry == nullptr)
        return ENOMEM;
    const int error = pthread_create(&m_thread, &attributes, thread_func, this);
    if (error != 0) {
        g_threads.DiscardEntry(entry);
        return error;
    }
    g_threads.Add(entry, m_thread);
    m_has_thread = true;
    if (m_detached)
        pthread_detach(m_thread);
    return 0;
}

void* pThread::thread_func(void* self)
{
    {
        const StartGate gate;
        if (!g_threads.Begin(pthread_self()))
            return nullptr;  // and its object may be gone
    }
    auto* const thread = static_cast<pThread*>(self);
    if (thread->m_detached) {
        pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
        pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    }
    thread->m_running = true;
    thread->Run();
    // From here on the object may be gone.
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    const StartGate gate;
    g_threads.End(pthread_self());
    return nullptr;
}

void pThread::Stop()
{
    m_stop_requested = true;
    if (!m_has_thread) {
        m_running = false;
        return;
    }
    if (IsCurrentThread())
        return;
    if (!m_detached) {
        Join();
    } else if (m_running) {
        const StartGate gate;
        g_threads.Cancel(this, m_thread);
    }
    m_has_thread = false;
    m_running = false;
}

int pThread::Sleep(unsigned int ms)
{
    timespec time;
    time.tv_sec = static_cast<time_t>(ms / 1000U);
    time.tv_nsec = static_cast<long>(ms % 1000U) * 1000000L;
    return nanosleep(&time, nullptr);
}
