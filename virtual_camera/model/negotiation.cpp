#include "virtual_camera/model/negotiation.h"

#include <algorithm>

#include "virtual_camera/model/topology.h"

namespace vcam {
namespace {

constexpr std::uint32_t kInterval30 = 10000000 / 30;
constexpr std::uint32_t kInterval15 = 10000000 / 15;
constexpr std::uint32_t kSmallestPayload = 512;

Bytes Encode(const StreamParameters& parameters)
{
    Bytes bytes;
    Append(bytes, parameters.hint, 2);
    Append(bytes, parameters.format, 1);
    Append(bytes, parameters.frame, 1);
    Append(bytes, parameters.interval, 4);
    bytes.resize(18);
    Append(bytes, parameters.max_frame_size, 4);
    Append(bytes, parameters.max_payload_size, 4);
    return bytes;
}

}  // namespace

Negotiation::Negotiation(const CameraOptions& options) : m_options(options)
{
    Reset();
}

void Negotiation::Reset()
{
    m_probe = Adjust(Bytes(kSize).data());
    m_commit = m_probe;
}

StreamParameters Negotiation::Adjust(const std::uint8_t* data) const
{
    StreamParameters result;
    result.hint = static_cast<std::uint16_t>(LoadLe(data, 2));
    result.format = data[2];
    result.frame = data[3];
    if (result.format < kFormatYuy2 || result.format > kFormatMultiplexed)
        result.format = kFormatMultiplexed;
    if (result.frame < 1 || result.frame > kFrameSizes.size())
        result.frame = 1;
    if (result.format == kFormatYuy2 || (result.format == kFormatMjpeg && result.frame != 4))
        result.frame = 1;

    const auto interval = static_cast<std::uint32_t>(LoadLe(data + 4, 4));
    if (result.format != kFormatMultiplexed)
        result.interval = kInterval15;
    else
        result.interval =
            interval == 0 ? kInterval30 : std::clamp(interval, kInterval30, kInterval15);

    const FrameSize size = kFrameSizes[result.frame - 1U];
    const std::uint32_t pixels = std::uint32_t{size.width} * size.height;
    result.max_frame_size = m_options.max_frame_size;
    if (result.format == kFormatYuy2)
        result.max_frame_size = pixels * 2;
    else if (result.format == kFormatMjpeg)
        result.max_frame_size = pixels;

    const auto payload = static_cast<std::uint32_t>(LoadLe(data + 22, 4));
    const std::uint32_t most = std::max(m_options.max_payload_size, kSmallestPayload);
    result.max_payload_size = payload == 0 ? most : std::clamp(payload, kSmallestPayload, most);
    return result;
}

bool Negotiation::Get(std::uint8_t request, std::uint8_t selector, Bytes& reply) const
{
    if (selector != kProbe && selector != kCommit)
        return false;
    StreamParameters answer = selector == kProbe ? m_probe : m_commit;
    switch (request) {
        case kGetCur:
            break;
        case kGetDef:
            answer = Adjust(Bytes(kSize).data());
            break;
        case kGetMin:
            answer.interval = kInterval30;
            answer.max_payload_size = kSmallestPayload;
            break;
        case kGetMax:
            answer.interval = kInterval15;
            answer.max_payload_size = std::max(m_options.max_payload_size, kSmallestPayload);
            break;
        case kGetRes:
            reply.assign(kSize, 0);
            return true;
        case kGetLen:
            reply = {kSize, 0};
            return true;
        case kGetInfo:
            reply = {0x03};
            return true;
        default:
            return false;
    }
    reply = Encode(answer);
    return true;
}

bool Negotiation::Set(std::uint8_t selector, const std::uint8_t* data, std::size_t length)
{
    if (length < kSize)
        return false;
    if (selector == kProbe)
        m_probe = Adjust(data);
    else if (selector == kCommit)
        m_commit = m_probe = Adjust(data);
    else
        return false;
    return true;
}

}  // namespace vcam
