#include "tests/support/scripted_camera.h"

namespace test_support {
namespace {

constexpr std::uint8_t kClassIn = 0xA1;
constexpr std::uint8_t kEndpointIn = 0xA2;
constexpr std::uint8_t kGetCur = 0x81;
constexpr std::uint8_t kGetMin = 0x82;
constexpr std::uint8_t kGetMax = 0x83;
constexpr std::uint16_t kProbe = 0x0100;
constexpr std::uint16_t kVideoStreaming = 1;
constexpr std::uint16_t kVolume = 0x0200;
constexpr std::uint16_t kFeatureUnit = 0x0503;

void Put32(Bytes& bytes, std::size_t at, std::uint32_t value)
{
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

Bytes Word(std::int16_t value)
{
    const auto bits = static_cast<std::uint16_t>(value);
    return {static_cast<std::uint8_t>(bits & 0xFF), static_cast<std::uint8_t>(bits >> 8)};
}

}  // namespace

Bytes Payload(std::uint8_t flags, const Bytes& data, std::uint8_t header_length)
{
    Bytes bytes{header_length, flags};
    bytes.reserve(12 + data.size());
    bytes.resize(12);
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

ScriptedCamera::ScriptedCamera() : ScriptedDevice(Layout::kCamera)
{
    OfferDefaults();
}

ScriptedCamera::ScriptedCamera(std::uint16_t vendor_id, std::uint16_t product_id)
    : ScriptedDevice(Layout::kCamera, vendor_id, product_id)
{
    OfferDefaults();
}

void ScriptedCamera::OfferDefaults()
{
    OfferVideo(65536, 8192);
    OfferVolume(-2560, 0);
    SetReply(kEndpointIn, kGetCur, 0x0100, kAudioEndpoint, {{0xC0, 0x5D, 0x00}});  // 24000 Hz
}

Bytes ScriptedCamera::Probe(std::uint32_t max_frame_size, std::uint32_t max_payload_size)
{
    Bytes bytes(26, 0);
    Put32(bytes, 18, max_frame_size);
    Put32(bytes, 22, max_payload_size);
    return bytes;
}

void ScriptedCamera::OfferVideo(std::uint32_t max_frame_size, std::uint32_t max_payload_size)
{
    for (const std::uint8_t request : {kGetCur, kGetMin, kGetMax})
        SetReply(kClassIn, request, kProbe, kVideoStreaming,
                 {Probe(max_frame_size, max_payload_size)});
}

void ScriptedCamera::OfferVolume(std::int16_t minimum, std::int16_t maximum)
{
    SetReply(kClassIn, kGetMin, kVolume, kFeatureUnit, {Word(minimum)});
    SetReply(kClassIn, kGetMax, kVolume, kFeatureUnit, {Word(maximum)});
}

void ScriptedCamera::QueueAudio(std::vector<Bytes> packets)
{
    std::vector<ScriptedPacket> scripted;
    for (Bytes& packet : packets)
        scripted.push_back({std::move(packet)});
    QueueIso(kAudioEndpoint, std::move(scripted));
}

}  // namespace test_support
