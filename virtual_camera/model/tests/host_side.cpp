#include "host_side.h"

#include <gtest/gtest.h>

namespace vcam::test {

TransferResult HostSide::Request(const SetupPacket& setup, unsigned char* data)
{
    TransferResult result = m_camera.Control(setup, data, now);
    for (int i = 0; i < 10 && result.status == TransferStatus::kNotReady; ++i) {
        if (result.ready_at == kNever)
            break;
        now = result.ready_at;
        result = m_camera.Control(setup, data, now);
    }
    status = result.status;
    return result;
}

TransferResult HostSide::Out(std::uint8_t type, std::uint8_t request, unsigned value,
                             unsigned index, Bytes data)
{
    const SetupPacket setup{type, request, static_cast<std::uint16_t>(value),
                            static_cast<std::uint16_t>(index),
                            static_cast<std::uint16_t>(data.size())};
    return Request(setup, data.data());
}

Bytes HostSide::In(std::uint8_t type, std::uint8_t request, unsigned value, unsigned index,
                   std::size_t length)
{
    Bytes data(length);
    const SetupPacket setup{type, request, static_cast<std::uint16_t>(value),
                            static_cast<std::uint16_t>(index), static_cast<std::uint16_t>(length)};
    data.resize(Request(setup, data.data()).length);
    return data;
}

void HostSide::Command(std::uint8_t selector, Bytes data)
{
    const auto result = Out(0x21, kSetCur, unsigned{selector} << 8U, 0x0600, std::move(data));
    ASSERT_EQ(result.status, TransferStatus::kCompleted);
}

void HostSide::Isp(Bytes bytes)
{
    bytes.resize(8);
    Command(CommandUnit::kIspCommand, std::move(bytes));
}

void HostSide::Mmp(Bytes bytes)
{
    bytes.resize(16);
    Command(CommandUnit::kMmpCommand, std::move(bytes));
}

void HostSide::StartVideo(std::uint8_t frame, std::uint8_t format)
{
    Bytes probe(26);
    probe[0] = 1;
    probe[2] = format;
    probe[3] = frame;
    StoreLe(&probe[4], 333333, 4);
    StoreLe(&probe[18], 0x100000, 4);
    StoreLe(&probe[22], 8192, 4);
    ASSERT_EQ(Out(0x21, kSetCur, 0x0100, 0x0001, probe).length, 26U);
    const Bytes answer = In(0xA1, kGetCur, 0x0100, 0x0001, 26);
    ASSERT_EQ(answer.size(), 26U);
    ASSERT_EQ(Out(0x21, kSetCur, 0x0200, 0x0001, answer).length, 26U);
    m_frame.clear();
}

TransferResult HostSide::Bulk(Bytes& buffer, TimeUs until)
{
    for (;;) {
        const TransferResult result =
            m_camera.BulkIn(kVideoEndpoint, buffer.data(), buffer.size(), now);
        if (result.status != TransferStatus::kNotReady || result.ready_at >= until)
            return result;
        now = result.ready_at;
    }
}

std::vector<Bytes> HostSide::ReadFrames(std::size_t count)
{
    std::vector<Bytes> frames;
    Bytes buffer(8192);
    while (frames.size() < count) {
        const TransferResult result = Bulk(buffer);
        if (result.status == TransferStatus::kNotReady ||
            result.status == TransferStatus::kNoDevice)
            break;
        if (result.status != TransferStatus::kCompleted || result.length < 2)
            continue;
        const std::uint8_t flags = buffer[1];
        bool bad = (flags & 0x40) != 0;
        if ((flags & 2) != 0 || ((flags ^ m_last_flags) & 1) != 0) {
            m_last_flags = flags;
            bad = bad || buffer[0] != 12;
            if (!m_frame.empty())
                frames.push_back(m_frame);
            m_frame.clear();
        }
        if (!bad && result.length > 12)
            m_frame.insert(m_frame.end(), buffer.begin() + 12,
                           buffer.begin() + static_cast<std::ptrdiff_t>(result.length));
    }
    return frames;
}

std::vector<Section> ParseContainer(const Bytes& container)
{
    std::vector<Section> sections;
    std::size_t at = 0;
    while (at + 32 <= container.size()) {
        const auto field = [&](std::size_t offset, std::size_t width) {
            return static_cast<std::size_t>(LoadLe(&container[at + offset], width));
        };
        const std::size_t data = at + 4 + field(2, 2);
        const std::size_t size = field(24, 4), reserved = field(28, 4);
        if (data + reserved > container.size() || size > reserved) {
            ADD_FAILURE() << "section runs past its container";
            break;
        }
        Section section{};
        section.id = static_cast<std::uint16_t>(field(4, 2));
        section.width = static_cast<std::uint16_t>(field(6, 2));
        section.height = static_cast<std::uint16_t>(field(8, 2));
        section.crop_flag = static_cast<std::uint16_t>(field(10, 2));
        section.number = static_cast<std::uint32_t>(field(12, 4));
        section.data.assign(container.begin() + static_cast<std::ptrdiff_t>(data),
                            container.begin() + static_cast<std::ptrdiff_t>(data + size));
        sections.push_back(section);
        at = data + reserved;
    }
    EXPECT_EQ(at, container.size());
    return sections;
}

}  // namespace vcam::test
