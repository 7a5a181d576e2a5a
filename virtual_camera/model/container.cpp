#include "virtual_camera/model/container.h"

#include <cstring>

namespace vcam {
namespace {

/// The padding is not clean, so that a reader that takes it for data is seen.
constexpr std::uint8_t kPaddingByte = 0xA5;

std::uint16_t FormatId(Stream stream)
{
    switch (stream) {
        case Stream::kYuy2:
            return 0x29;
        case Stream::kNv12:
            return 0x2A;
        case Stream::kMain:
            return 0x2B;
        case Stream::kJpeg:
            return 0x2C;
        case Stream::kGray:
            return 0x2D;
        case Stream::kNv21:
            return 0x2F;
        case Stream::kSub:
            return 0x35;
        case Stream::kPcm:
            break;
    }
    return 0;
}

}  // namespace

void Container::Begin(std::uint64_t number, std::uint32_t time_ms)
{
    m_number = number;
    m_time_ms = time_ms;
    m_data.clear();
    m_headers.clear();
}

std::uint8_t* Container::AddSection(const SectionFacts& facts, std::size_t size)
{
    const std::size_t reserved = (size + m_alignment - 1) / m_alignment * m_alignment;
    const std::size_t start = m_data.size();
    m_headers.push_back(start);
    m_data.resize(start + kHeaderSize + reserved);
    std::uint8_t* header = m_data.data() + start;
    StoreLe(header, m_number, 2);
    StoreLe(header + 2, kHeaderSize - 4, 2);
    StoreLe(header + 4, FormatId(facts.stream), 2);
    StoreLe(header + 6, facts.width, 2);
    StoreLe(header + 8, facts.height, 2);
    StoreLe(header + 10, facts.crop_flag, 2);
    StoreLe(header + 12, facts.number, 4);
    StoreLe(header + 16, facts.extra, 4);
    StoreLe(header + 20, m_time_ms, 4);
    StoreLe(header + 24, size, 4);
    StoreLe(header + 28, reserved, 4);
    std::uint8_t* data = header + kHeaderSize;
    std::memset(data + size, kPaddingByte, reserved - size);
    return data;
}

std::uint8_t* Container::AddPlain(std::size_t size)
{
    const std::size_t start = m_data.size();
    m_data.resize(start + size);
    return m_data.data() + start;
}

}  // namespace vcam
