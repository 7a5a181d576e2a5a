// From payloads to frames.
#ifndef TORVIK_VIDEO_FRAME_ASSEMBLER_H
#define TORVIK_VIDEO_FRAME_ASSEMBLER_H

#include <atomic>
#include <cstdint>
#include <memory>

#include "video/frame_locker.h"
#include "video/frame_queue.h"

/// Copies the data of payloads behind each other into a buffer of the ring, and
/// commits the buffer where a frame ends. Knows nothing of transfers. Used by
/// one thread at a time, the ring's producer; logs as FillVideoBuf_Bulk.
class FrameAssembler
{
public:
    /// What becomes of the transfer that brought a payload.
    enum class Answer {
        kTaken,    ///< goes back into circulation
        kDropped,  ///< likewise; its data is of no use
        kKeep,     ///< leaves circulation: there is nothing to write into
        kNoRoom,   ///< its payload has to wait, and is then given again
    };

    FrameAssembler() = default;
    FrameAssembler(const FrameAssembler&) = delete;
    FrameAssembler& operator=(const FrameAssembler&) = delete;

    /// Begins a stream and takes the ring's first buffer; the last stream has
    /// ended. The flags of the last boundary survive from stream to stream.
    ///
    /// @param queue           the ring; outlives the stream
    /// @param max_frame_size  bytes of each of its buffers, slack not included
    /// @return false without memory
    bool Begin(CFrameBufQueue& queue, std::uint32_t max_frame_size);
    /// Ends it; the buffer in hand goes to the ring.
    void End();

    /// A buffer is at hand, or the payload in hand waits for one.
    bool IsReady() const
    {
        return m_awaiting_buffer || (m_locker != nullptr && m_locker->Frame() != nullptr);
    }
    /// The payload that found no room has closed its frame already.
    bool IsAwaitingBuffer() const { return m_awaiting_buffer; }

    /// Takes one payload, when IsReady. May sleep while the ring is full.
    ///
    /// @param payload    header and data; a bad header is marked in it
    /// @param length     bytes received, 0 and more
    /// @param status     the transfer's; anything but 0 is logged
    /// @param interrupt  not 0: do not sleep, see CFrameBufQueue::Acquire
    Answer Take(unsigned char* payload, unsigned length, int status,
                const std::atomic<int>& interrupt);

private:
    void CloseFrame(unsigned char* header, unsigned length);
    bool Append(const unsigned char* data, unsigned length);
    unsigned char* End(CFrameBuf* frame) const { return frame->Data() + m_filled; }

    // The owner guards them all: with the transport's transfer lock.
    CFrameBufQueue* m_queue = nullptr;
    std::unique_ptr<CFrameBufferLocker> m_locker;  ///< null between streams
    std::uint32_t m_max_frame_size = 0;
    std::uint32_t m_filled = 0;     ///< bytes of the frame in progress
    std::uint8_t m_last_flags = 0;  ///< bmHeaderInfo at the last boundary
    bool m_awaiting_buffer = false;
};

#endif
