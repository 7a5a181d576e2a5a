#include "video/frame_queue.h"

#include <algorithm>
#include <cstring>

#include "runtime/deadline.h"
#include "runtime/sleep.h"

namespace {

constexpr unsigned long kDrainPollMs = 1;

}  // namespace

CFrameBufQueue::CFrameBufQueue(CFrameBuf** buffers, int capacity)
    : m_buffers(buffers), m_capacity(capacity)
{
}

bool CFrameBufQueue::WaitOnEvent(int timeoutMs)
{
    ++m_waiters;
    const bool triggered = m_event.Wait(m_mutex, timeoutMs);
    --m_waiters;
    return triggered;
}

void CFrameBufQueue::Commit()
{
    const MutexGuard guard(m_mutex);
    m_write_index = Next(m_write_index);
    if (m_count == 0)
        m_event.Trigger(m_mutex);
    ++m_count;
}

CFrameBuf* CFrameBufQueue::Acquire(const std::atomic<int>* interrupt)
{
    const MutexGuard guard(m_mutex);
    while (m_count == m_capacity) {
        if (m_closed || (interrupt != nullptr && *interrupt != 0))
            return nullptr;
        WaitOnEvent(-1);
    }
    return m_buffers[m_write_index];
}

void CFrameBufQueue::WaitForRoom(int timeoutMs)
{
    const MutexGuard guard(m_mutex);
    if (m_count == m_capacity && !m_closed)
        WaitOnEvent(timeoutMs);
}

void CFrameBufQueue::WakeOverdueConsumer()
{
    const std::uint32_t deadline = m_consumer_deadline.load(std::memory_order_relaxed);
    if (deadline != 0 && Deadline::HasPassed(deadline))
        m_event.Trigger(m_mutex);
}

void CFrameBufQueue::WakeProducer()
{
    const MutexGuard guard(m_mutex);
    if (m_count == m_capacity)
        m_event.Trigger(m_mutex);
}

CFrameBuf* CFrameBufQueue::Peek()
{
    const MutexGuard guard(m_mutex);
    if (m_count == 0 && !m_closed) {
        const Deadline deadline(kConsumerWaitMs);
        m_consumer_deadline = deadline.Stamp();
        int left = kConsumerWaitMs;
        // A condition variable may wake for no reason.
        while (m_count == 0 && !m_closed && left > 0 && WaitOnEvent(left))
            left = deadline.LeftMs();
        m_consumer_deadline = 0;
    }
    return m_count == 0 ? nullptr : m_buffers[m_read_index];
}

void CFrameBufQueue::Release()
{
    const MutexGuard guard(m_mutex);
    if (m_count == 0)
        return;
    m_read_index = Next(m_read_index);
    if (m_count == m_capacity)
        m_event.Trigger(m_mutex);
    --m_count;
}

int CFrameBufQueue::Lend(unsigned char** data, unsigned int* size)
{
    *data = nullptr;
    *size = 0;
    CFrameBuf* const frame = Peek();
    if (frame == nullptr)
        return 0;
    if (frame->size == 0) {
        Release();
        return 0;
    }
    *data = frame->Data();
    *size = frame->size;
    return static_cast<int>(frame->size);
}

unsigned int CFrameBufQueue::CopyOut(unsigned char* dst, unsigned int maxLength)
{
    CFrameBuf* const frame = Peek();
    if (frame == nullptr)
        return 0;
    const unsigned copied = std::min<unsigned>(frame->size, maxLength);
    if (copied > 0)
        std::memcpy(dst, frame->Data(), copied);
    Release();
    return copied;
}

void CFrameBufQueue::Close()
{
    const MutexGuard guard(m_mutex);
    m_closed = true;
    m_event.Trigger(m_mutex);
}

bool CFrameBufQueue::IsClosed()
{
    const MutexGuard guard(m_mutex);
    return m_closed;
}

void CFrameBufQueue::DrainWaiters()
{
    for (;;) {
        {
            const MutexGuard guard(m_mutex);
            if (m_waiters == 0)
                return;
            m_event.Trigger(m_mutex);
        }
        SleepMilliseconds(kDrainPollMs);
    }
}

int CFrameBufQueue::Count()
{
    const MutexGuard guard(m_mutex);
    return m_count;
}
