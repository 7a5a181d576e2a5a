// The writer's hold on a frame ring.
#ifndef TORVIK_VIDEO_FRAME_LOCKER_H
#define TORVIK_VIDEO_FRAME_LOCKER_H

#include "video/frame_queue.h"

/// Holds the buffer being written; hands it to the ring when destroyed.
class CFrameBufferLocker
{
public:
    /// Takes the first buffer; `queue` must outlive the locker.
    explicit CFrameBufferLocker(CFrameBufQueue* queue) : m_queue(queue), m_frame(queue->Acquire())
    {
    }

    virtual ~CFrameBufferLocker()
    {
        if (m_frame == nullptr)
            return;
        m_frame = nullptr;
        m_queue->Commit();
    }

    CFrameBufferLocker(const CFrameBufferLocker&) = delete;
    CFrameBufferLocker& operator=(const CFrameBufferLocker&) = delete;

    /// The buffer being written, or null.
    CFrameBuf* Frame() const { return m_frame; }

    /// Completes the frame with `size` bytes and lets go of its buffer.
    void CommitFrame(std::uint32_t size)
    {
        m_frame->size = size;
        m_frame = nullptr;
        m_queue->Commit();
    }

    /// Takes the next buffer, see CFrameBufQueue::Acquire; false without one.
    bool AcquireFrame(const std::atomic<int>* interrupt)
    {
        m_frame = m_queue->Acquire(interrupt);
        return m_frame != nullptr;
    }

private:
    CFrameBufQueue* const m_queue;
    CFrameBuf* m_frame;
};

#endif
