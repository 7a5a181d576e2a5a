// A scripted device with the answers that a stream start needs.
#ifndef TESTS_SUPPORT_SCRIPTED_CAMERA_H
#define TESTS_SUPPORT_SCRIPTED_CAMERA_H

#include "tests/support/scripted_device.h"

namespace test_support {

/// One UVC payload: a 12-byte header with these flags (UVC 1.0, 2.4.3.3), then
/// the data.
Bytes Payload(std::uint8_t flags, const Bytes& data = {}, std::uint8_t header_length = 12);

class ScriptedCamera : public ScriptedDevice {
public:
    static constexpr std::uint8_t kVideoEndpoint = 0x81;
    static constexpr std::uint8_t kAudioEndpoint = 0x82;

    ScriptedCamera();
    ScriptedCamera(std::uint16_t vendor_id, std::uint16_t product_id);

    /// Sizes that the probe control offers; 64 KiB frames in 8 KiB payloads to
    /// begin with.
    void OfferVideo(std::uint32_t max_frame_size, std::uint32_t max_payload_size);
    /// The 26-byte probe answer with these sizes.
    static Bytes Probe(std::uint32_t max_frame_size, std::uint32_t max_payload_size);
    /// Range of the volume control, in its raw units; -2560 to 0 to begin with.
    void OfferVolume(std::int16_t minimum, std::int16_t maximum);

    void QueuePayload(std::uint8_t flags, const Bytes& data = {}, std::uint8_t header_length = 12)
    {
        QueueIn(kVideoEndpoint, Payload(flags, data, header_length));
    }
    /// One audio transfer, each packet with these bytes.
    void QueueAudio(std::vector<Bytes> packets);

private:
    void OfferDefaults();
};

}  // namespace test_support

#endif
