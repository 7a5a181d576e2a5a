#include "virtual_camera/model/payload_cutter.h"

#include <algorithm>
#include <cstring>

#include "virtual_camera/model/topology.h"

namespace vcam {
namespace {

enum HeaderFlags : std::uint8_t {
    kFrameId = 0x01,
    kEndOfFrameFlag = 0x02,
    kPresentationTime = 0x04,
    kSourceClock = 0x08,
    kError = 0x40,
    kEndOfHeader = 0x80,
};

}  // namespace

void PayloadCutter::Start(std::size_t payload_size, EndOfFrame end)
{
    m_payload_size = payload_size;
    m_end = end;
    m_frame = nullptr;
    m_step = Step::kDone;
    m_position = 0;
}

void PayloadCutter::Load(const Bytes& frame, TimeUs time)
{
    m_frame = &frame;
    m_time = time;
    m_offset = 0;
    m_position = 0;
    m_frame_id ^= kFrameId;
    m_step = Step::kData;
}

void PayloadCutter::FillHeader(std::uint8_t* header, bool end_of_frame, bool err) const
{
    const std::uint64_t ticks = m_time * (kClockFrequency / 1000000);
    header[0] = kHeaderSize;
    header[1] =
        static_cast<std::uint8_t>(kEndOfHeader | kPresentationTime | kSourceClock | m_frame_id |
                                  (end_of_frame ? kEndOfFrameFlag : 0) | (err ? kError : 0));
    StoreLe(header + 2, ticks, 4);
    StoreLe(header + 6, ticks, 4);
    StoreLe(header + 10, m_time / 1000 & 0x7FF, 2);
}

/// Of the payload that begins now.
std::size_t PayloadCutter::DataSize() const
{
    if (m_step != Step::kData)
        return 0;
    return std::min(m_payload_size - kHeaderSize, m_frame->size() - m_offset);
}

void PayloadCutter::BeginPayload(const Twist& twist)
{
    m_data_size = DataSize();
    const bool last = m_step == Step::kEndOfFrame || (m_end == EndOfFrame::kLastPayload &&
                                                      m_offset + m_data_size == m_frame->size());
    FillHeader(m_header.data(), last, twist.err);
    if (twist.header_length)
        m_header[0] = *twist.header_length;
    m_visible = kHeaderSize + m_data_size;
    if (twist.cut)
        m_visible = std::min(m_visible, *twist.cut);
}

void PayloadCutter::EndPayload()
{
    m_position = 0;
    m_offset += m_data_size;
    if (m_step == Step::kEndOfFrame)
        m_step = Step::kDone;
    else if (m_offset == m_frame->size())
        m_step = m_end == EndOfFrame::kHeaderOnly ? Step::kEndOfFrame : Step::kDone;
}

std::size_t PayloadCutter::Take(unsigned char* to, std::size_t capacity, const Twist& twist)
{
    if (m_position == 0)
        BeginPayload(twist);
    std::size_t taken = 0;
    const std::size_t header_end = std::min(kHeaderSize, m_visible);
    if (m_position < header_end) {
        taken = std::min(capacity, header_end - m_position);
        std::memcpy(to, m_header.data() + m_position, taken);
        m_position += taken;
    }
    if (m_position >= kHeaderSize && m_position < m_visible) {
        const std::size_t part = std::min(capacity - taken, m_visible - m_position);
        std::memcpy(to + taken, m_frame->data() + m_offset + (m_position - kHeaderSize), part);
        m_position += part;
        taken += part;
    }
    if (m_position >= m_visible)
        EndPayload();
    return taken;
}

bool PayloadCutter::Hurts(const Twist& twist) const
{
    const bool data = m_step == Step::kData;
    // The host looks at a header's length where a frame begins or ends, and
    // drops that payload.
    const bool cut = twist.cut && *twist.cut < kHeaderSize + DataSize();
    return (twist.err && data) || (twist.header_length && data && m_offset == 0) ||
           (cut && (data || *twist.cut < 2));
}

std::size_t PayloadCutter::TakeRubbish(unsigned char* to, std::size_t capacity) const
{
    std::array<std::uint8_t, 64> rubbish;
    rubbish.fill(0xEE);
    FillHeader(rubbish.data(), false, true);
    const std::size_t size = std::min(capacity, rubbish.size());
    std::memcpy(to, rubbish.data(), size);
    return size;
}

}  // namespace vcam
