#include "tests/video/counting_camera.h"

#include <algorithm>
#include <cstring>

#include "runtime/byte_order.h"

namespace {

constexpr std::uint8_t kEndOfFrame = 0x02;
constexpr std::size_t kHeader = 12;

}  // namespace

CountingCamera::CountingCamera(std::uint32_t containers, unsigned seed)
    : m_containers(containers), m_random(seed)
{
    OfferVideo(16384, 1024);
    SetSource(kVideoEndpoint, [this](unsigned char* data, std::size_t capacity) {
        return Serve(data, capacity);
    });
}

vcam::TransferResult CountingCamera::Control(const vcam::SetupPacket& setup, unsigned char* data,
                                             vcam::TimeUs now)
{
    if (setup.request_type == 0x21 && setup.value == 0x0100 && setup.index == 0x0600 &&
        data[0] == 4) {
        ++m_requests;
        m_key_frame_wanted = true;
    }
    return ScriptedCamera::Control(setup, data, now);
}

Bytes CountingCamera::Image(std::uint32_t number)
{
    Bytes image(4 + number * 37 % 3000);
    WriteLe32(image.data(), number);
    for (std::size_t i = 4; i < image.size(); ++i)
        image[i] = static_cast<std::uint8_t>(number + i * 13);
    return image;
}

std::uint32_t CountingCamera::NumberOf(const unsigned char* image)
{
    return ReadLe32(image);
}

Bytes CountingCamera::Picture(std::uint8_t nal_header, std::uint32_t number, std::size_t size)
{
    Bytes picture = H264(nal_header, std::max(size, kSmallestPicture));
    WriteLe32(&picture[5], number);
    return picture;
}

std::uint32_t CountingCamera::NumberIn(const unsigned char* picture)
{
    return ReadLe32(picture + 5);
}

void CountingCamera::MakeContainer()
{
    const bool key = m_key_frame_wanted.exchange(false);
    const std::uint8_t header = key ? kIntra : kPredicted;
    m_main_number += Random(4) == 0 ? 2 : 1;
    ++m_sub_number;
    Section main{kMainH264, Picture(header, m_main_number, Random(2500))};
    main.frame_number = m_main_number;
    Section sub{kSubH264, Picture(header, m_sub_number, Random(300))};
    sub.frame_number = m_sub_number;
    m_container = Container({main, sub, {kYuy2, Image(m_sent)}});
    m_offset = 0;
    ++m_sent;
}

vcam::TransferResult CountingCamera::Serve(unsigned char* data, std::size_t capacity)
{
    if (m_offset == m_container.size() && !m_close) {
        if (m_sent == m_containers)
            return {vcam::TransferStatus::kNotReady, 0, vcam::kNever};
        MakeContainer();
    }
    std::memset(data, 0, kHeader);
    data[0] = kHeader;
    data[1] = m_frame_id;
    if (m_close) {
        data[1] |= kEndOfFrame;
        m_close = false;
        m_frame_id ^= 1;
        return {vcam::TransferStatus::kCompleted, kHeader, vcam::kNever};
    }
    const std::size_t length = std::min(capacity - kHeader, m_container.size() - m_offset);
    std::memcpy(data + kHeader, &m_container[m_offset], length);
    m_offset += length;
    if (m_offset == m_container.size()) {
        // Some frames end with a flag, all with a toggle; the last one has to
        // have the flag.
        if (Random(2) == 0 || m_sent == m_containers)
            m_close = true;
        else
            m_frame_id ^= 1;
    }
    return {vcam::TransferStatus::kCompleted, kHeader + length, vcam::kNever};
}
