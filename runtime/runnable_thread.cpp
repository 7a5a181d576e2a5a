#include "runtime/runnable_thread.h"

#include "runtime/sleep.h"
#include "runtime/thread_priority.h"

namespace {

enum : int { kCreated = 0, kRunning = 1, kFinished = -1 };
constexpr unsigned long kPollMicroseconds = 100;

}  // namespace

std::atomic<int> CThread::threadInitNumber{0};

CThread::CThread() : CThread(nullptr) {}

CThread::CThread(Runnable* target)
    : m_number(getNextThreadNum()),
      m_target(target),
      m_handle(),
      m_joinable(false),
      m_thread_id(),
      m_state(kCreated),
      m_attributes(),
      m_scheduling()
{
    pthread_attr_init(&m_attributes);
}

CThread::~CThread()
{
    pthread_attr_destroy(&m_attributes);
    if (m_joinable)
        pthread_detach(m_handle);
}

void CThread::run()
{
    if (m_target != nullptr)
        m_target->run();
}

bool CThread::start()
{
    if (!RaiseThreadPriority())
        return false;
    m_joinable = pthread_create(&m_handle, &m_attributes, StartRoutine, this) == 0;
    return m_joinable;
}

void* CThread::StartRoutine(void* self)
{
    auto* const thread = static_cast<CThread*>(self);
    thread->m_thread_id = pthread_self();
    thread->m_state = kRunning;
    thread->run();
    thread->m_thread_id = pthread_t();
    thread->m_state = kFinished;
    return nullptr;
}

void CThread::join()
{
    if (!m_joinable)
        return;
    pthread_join(m_handle, nullptr);
    m_joinable = false;
}

void CThread::join(unsigned long ms)
{
    if (ms == 0) {
        join();
        return;
    }
    for (unsigned long polls = 0; m_state != kFinished && polls <= ms; ++polls)
        SleepMicroseconds(kPollMicroseconds);
}

int CThread::getThreadPriority() const
{
    sched_param scheduling = {};
    pthread_attr_getschedparam(&m_attributes, &scheduling);
    return scheduling.sched_priority;
}

void CThread::setThreadPriority(int priority)
{
    m_scheduling.sched_priority = priority;
    pthread_attr_setschedparam(&m_attributes, &m_scheduling);
}

bool CThread::getThreadScope() const
{
    int scope = PTHREAD_SCOPE_PROCESS;
    pthread_attr_getscope(&m_attributes, &scope);
    return scope == PTHREAD_SCOPE_SYSTEM;
}

void CThread::setThreadScope(bool system)
{
    pthread_attr_setscope(&m_attributes, system ? PTHREAD_SCOPE_SYSTEM : PTHREAD_SCOPE_PROCESS);
}

bool CThread::isEquals(CThread* thread) const
{
    return thread != nullptr && pthread_equal(pthread_self(), thread->m_thread_id) != 0;
}

bool CThread::operator==(const CThread* thread) const
{
    return thread != nullptr && m_number == thread->m_number;
}
