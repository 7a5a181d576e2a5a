// The ring between an event thread and a capture thread.
#ifndef TORVIK_VIDEO_FRAME_QUEUE_H
#define TORVIK_VIDEO_FRAME_QUEUE_H

#include <atomic>
#include <cstdint>

#include "runtime/mutex.h"
#include "runtime/sync_event.h"
#include "video/frame_buffer.h"

/// A ring of frame buffers for exactly one producer and one consumer; any
/// thread may close it. Frames are lent, never copied or overwritten.
///
/// The one event serves both sides: they never sleep at the same time, since
/// one waits for a full ring and the other for an empty one.
class CFrameBufQueue
{
public:
    static constexpr int kConsumerWaitMs = 500;

    /// `buffers` is the owner's array of `capacity` buffers.
    CFrameBufQueue(CFrameBuf** buffers, int capacity);

    /// Producer: the buffer being written is complete.
    void Commit();
    /// Producer: the next buffer to write. Sleeps while the ring is full, until
    /// the consumer releases a buffer, the ring is closed or `*interrupt` is
    /// not 0; null when it is full still.
    CFrameBuf* Acquire(const std::atomic<int>* interrupt = nullptr) EXCLUDES(m_mutex);
    /// Producer: sleeps up to `timeoutMs` while the ring is full and open.
    void WaitForRoom(int timeoutMs) EXCLUDES(m_mutex);
    /// Producer: wakes a consumer whose 500 ms are over. The consumer sleeps until
    /// a time of the wall clock, which somebody may have set back.
    void WakeOverdueConsumer();
    /// Wakes a producer that sleeps in Acquire, so that it looks at its
    /// interrupt flag.
    void WakeProducer();

    /// Consumer: the oldest complete frame, lent until Release. Sleeps up to
    /// 500 ms while there is none; null when there is none still, and at once
    /// when the ring is closed.
    CFrameBuf* Peek() EXCLUDES(m_mutex);
    /// Consumer: gives the lent frame back.
    void Release();

    /// Consumer: Peek for callers that want plain data. The frame's size, or 0
    /// with both outputs cleared; a frame of size 0 is released at once.
    int Lend(unsigned char** data, unsigned int* size) EXCLUDES(m_mutex);
    /// Consumer: copies the oldest frame, `maxLength` bytes at most, and
    /// releases it; the bytes copied.
    unsigned int CopyOut(unsigned char* dst, unsigned int maxLength) EXCLUDES(m_mutex);

    /// From now on nobody sleeps on this ring; sleepers wake.
    void Close();
    bool IsClosed();
    /// Returns when nobody sleeps on the ring any more. Before deleting it.
    void DrainWaiters() EXCLUDES(m_mutex);

    /// Complete frames not yet released.
    int Count();
    int Capacity() const { return m_capacity; }

private:
    int Next(int index) const { return index < m_capacity - 1 ? index + 1 : 0; }
    bool WaitOnEvent(int timeoutMs) REQUIRES(m_mutex);

    /// Atomic. Of the consumer that sleeps, see Deadline::Stamp; 0 when none does.
    std::atomic<std::uint32_t> m_consumer_deadline{0};

    // Constant after construction. A buffer itself belongs to the producer from
    // Acquire to Commit and to the consumer from Peek to Release.
    CFrameBuf** const m_buffers;
    const int m_capacity;

    int m_write_index GUARDED_BY(m_mutex) = 0;
    int m_read_index GUARDED_BY(m_mutex) = 0;
    int m_count GUARDED_BY(m_mutex) = 0;
    int m_waiters GUARDED_BY(m_mutex) = 0;
    bool m_closed GUARDED_BY(m_mutex) = false;
    /// The innermost of the library's locks: nothing is called with it held.
    pMutex m_mutex;
    pSyncEvent m_event;
};

#endif
