#include "runtime/thread.h"

#include <time.h>

#include "runtime/debug_log.h"
#include "runtime/detached_threads.h"
#include "runtime/error_text.h"
#include "runtime/thread_priority.h"

namespace {

// Held by Start until it has finished with the object, and taken once by every
// new thread before its body runs: a detached worker may delete its object at
// any moment after that.
pthread_mutex_t g_start_gate = PTHREAD_MUTEX_INITIALIZER;

/// Guarded by the gate.
DetachedThreads g_detached;

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
}

int pThread::Start(const char*)
{
    m_stop_requested = false;
    m_running = true;
    if (!m_detached && m_has_thread && pthread_tryjoin_np(m_thread, nullptr) != 0)
        return 0;

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    if (m_stack_size > 0)
        pthread_attr_setstacksize(&attributes, static_cast<size_t>(m_stack_size));
    RaiseThreadPriority();

    pthread_mutex_lock(&g_start_gate);
    const int error = pthread_create(&m_thread, &attributes, thread_func, this);
    if (error == 0) {
        m_has_thread = true;
        if (m_detached) {
            g_detached.Add(m_thread);
            pthread_detach(m_thread);
        }
    } else {
        __FATAL("pthread_create() failed (%s)\n", ErrorText(error).c_str());
    }
    pthread_mutex_unlock(&g_start_gate);
    pthread_attr_destroy(&attributes);
    return error;
}

void* pThread::thread_func(void* self)
{
    pthread_mutex_lock(&g_start_gate);
    const bool wanted = g_detached.Begin(pthread_self());
    pthread_mutex_unlock(&g_start_gate);
    if (!wanted)
        return nullptr;  // and its object may be gone

    auto* const thread = static_cast<pThread*>(self);
    const bool detached = thread->m_detached;
    if (detached) {
        pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
        pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    }
    thread->m_running = true;
    thread->Run();
    if (detached) {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        pthread_mutex_lock(&g_start_gate);
        g_detached.End(pthread_self());
        pthread_mutex_unlock(&g_start_gate);
    }
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
    if (m_detached) {
        if (m_running) {
            pthread_mutex_lock(&g_start_gate);
            g_detached.Cancel(m_thread);
            pthread_mutex_unlock(&g_start_gate);
        }
    } else {
        pthread_join(m_thread, nullptr);
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
