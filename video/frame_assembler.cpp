#include "video/frame_assembler.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "runtime/debug_log.h"
#include "video/payload_header.h"

namespace {

constexpr char kFill[] = "FillVideoBuf_Bulk";  // logs under its name

}  // namespace

bool FrameAssembler::Begin(CFrameBufQueue& queue, std::uint32_t max_frame_size)
{
    m_queue = &queue;
    m_max_frame_size = max_frame_size;
    m_filled = 0;
    m_awaiting_buffer = false;
    m_locker.reset(new (std::nothrow) CFrameBufferLocker(&queue));
    return m_locker != nullptr;
}

void FrameAssembler::End()
{
    m_locker.reset();
    m_queue = nullptr;
    m_awaiting_buffer = false;
}

FrameAssembler::Answer FrameAssembler::Take(unsigned char* payload, unsigned length, int status,
                                            const std::atomic<int>& interrupt)
{
    using namespace payload_header;
    if (length > 0 && status != 0 && !m_awaiting_buffer)
        CAM_LOG_AS(kFill, kLogDebugging, "status %d\n", status);
    if (length <= kHeaderInfo)
        return Answer::kTaken;

    if (!m_awaiting_buffer && IsBoundary(payload[kHeaderInfo], m_last_flags))
        CloseFrame(payload, length);
    if (m_locker->Frame() == nullptr && !m_locker->AcquireFrame(&interrupt)) {
        m_awaiting_buffer = !m_queue->IsClosed();
        if (m_awaiting_buffer)
            return Answer::kNoRoom;
    }
    m_awaiting_buffer = false;

    if ((payload[kHeaderInfo] & kError) != 0) {
        CAM_LOG_AS(kFill, kLogDebugging, "Dropping payload (error bit set).\n");
        return Answer::kDropped;
    }
    if (length <= kLength)
        return Answer::kTaken;
    if (m_locker->Frame() == nullptr) {
        // The ring was closed while it was full.
        CAM_LOG_AS(kFill, kLogFatal, "Frame Buffer for writing is NULL !!!\r\n");
        return Answer::kKeep;
    }
    return Append(payload + kLength, length - kLength) ? Answer::kTaken : Answer::kDropped;
}

/// A boundary closes the frame gathered so far, before the payload's own data,
/// which begins the next frame.
void FrameAssembler::CloseFrame(unsigned char* header, unsigned length)
{
    using namespace payload_header;
    m_last_flags = header[kHeaderInfo];
    const unsigned header_length = header[kHeaderLength];
    if (header_length != kLength) {
        CAM_LOG_AS(kFill, kLogDebugging, "UVC Payload Header Length = %d\n",
                   static_cast<int>(header_length));
        header[kHeaderInfo] |= kError;
        if (header_length > kLength && length > kLength) {
            // The bytes land behind the frame and are not counted.
            std::memcpy(End(m_locker->Frame()), header + kLength,
                        std::min(length - kLength, m_max_frame_size - m_filled));
        }
    }
    if (m_filled > 0)
        m_locker->CommitFrame(m_filled);
    m_filled = 0;
}

/// False when the data does not fit; the frame in progress keeps what it has.
bool FrameAssembler::Append(const unsigned char* data, unsigned length)
{
    if (length > m_max_frame_size - m_filled) {
        CAM_LOG_AS(kFill, kLogDebugging, "Fram size exceed MaxFrameSize!! %d\n",
                   static_cast<int>(m_filled + length));
        return false;
    }
    unsigned char* const end = End(m_locker->Frame());
    std::memcpy(end, data, length);
    // A scan for start codes may look past the frame's end.
    std::memset(end + length, 0, CFrameBuf::kSlack);
    m_filled += length;
    return true;
}
