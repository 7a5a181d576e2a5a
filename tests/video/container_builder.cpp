#include "tests/video/container_builder.h"

namespace {

void Put16(Bytes& bytes, std::size_t at, std::uint32_t value)
{
    bytes[at] = static_cast<std::uint8_t>(value & 0xFF);
    bytes[at + 1] = static_cast<std::uint8_t>(value >> 8 & 0xFF);
}

void Put32(Bytes& bytes, std::size_t at, std::uint32_t value)
{
    Put16(bytes, at, value);
    Put16(bytes, at + 2, value >> 16);
}

}  // namespace

Bytes SectionBytes(const Section& section)
{
    Bytes bytes(32, 0xCC);  // what is not a field must not matter
    const std::uint32_t payload =
        section.payload_size.value_or(static_cast<std::uint32_t>(section.data.size()));
    const std::uint32_t reserved = section.reserved_size.value_or(payload);
    Put16(bytes, 2, section.remainder);
    Put16(bytes, 4, section.type);
    Put16(bytes, 6, section.first_dimension);
    Put16(bytes, 8, section.second_dimension);
    Put16(bytes, 10, section.crop_flag);
    Put32(bytes, 12, section.frame_number);
    Put32(bytes, 16, section.extra);
    Put32(bytes, 24, payload);
    Put32(bytes, 28, reserved);
    if (section.remainder > 28)
        bytes.resize(4u + section.remainder, 0xDD);
    bytes.insert(bytes.end(), section.data.begin(), section.data.end());
    constexpr std::uint32_t kSane = 1u << 20;
    if (reserved > section.data.size() && reserved <= kSane)
        bytes.resize(bytes.size() + reserved - section.data.size(), 0xEE);
    return bytes;
}

Bytes Container(const std::vector<Section>& sections)
{
    Bytes bytes;
    for (const Section& section : sections) {
        const Bytes one = SectionBytes(section);
        bytes.insert(bytes.end(), one.begin(), one.end());
    }
    return bytes;
}

Bytes H264(std::uint8_t nal_header, std::size_t size)
{
    Bytes bytes{0, 0, 0, 1, nal_header};
    for (std::size_t i = bytes.size(); i < size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(0x80 | i));
    bytes.resize(size);
    return bytes;
}

Bytes KeyFrame(std::size_t size)
{
    Bytes bytes = H264(0x67, 20);
    const Bytes rest = H264(0x68, 8);
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    const Bytes picture = H264(kIntra, size - 28);
    bytes.insert(bytes.end(), picture.begin(), picture.end());
    return bytes;
}
