// A minimal host for tests of the model: it talks to the device as a carrier
// does, on a clock of its own, and puts payloads together.
#ifndef VIRTUAL_CAMERA_MODEL_TESTS_HOST_SIDE_H
#define VIRTUAL_CAMERA_MODEL_TESTS_HOST_SIDE_H

#include <map>
#include <vector>

#include "virtual_camera/model/camera_model.h"

namespace vcam::test {

struct Section {
    std::uint16_t id;
    std::uint16_t width, height, crop_flag;
    std::uint32_t number;
    Bytes data;
};

class HostSide
{
public:
    explicit HostSide(CameraModel& camera) : m_camera(camera) {}

    TimeUs now = 1000000;

    TransferResult Out(std::uint8_t type, std::uint8_t request, unsigned value, unsigned index,
                       Bytes data = {});
    /// Empty when the request failed; `status` then says how.
    Bytes In(std::uint8_t type, std::uint8_t request, unsigned value, unsigned index,
             std::size_t length);
    TransferStatus status = TransferStatus::kCompleted;

    void Command(std::uint8_t selector, Bytes data);
    void Isp(Bytes bytes);
    void Mmp(Bytes bytes);
    void StartVideo(std::uint8_t frame = 4, std::uint8_t format = 3);
    void StopVideo() { m_camera.SetAlternateSetting(kVideoStreaming, 0, now); }

    /// One transfer, waiting for it; advances the clock. Gives up at `until`.
    TransferResult Bulk(Bytes& buffer, TimeUs until = kNever);
    /// Frames as a host sees them until the device has sent `count` or falls
    /// silent.
    std::vector<Bytes> ReadFrames(std::size_t count);

private:
    TransferResult Request(const SetupPacket& setup, unsigned char* data);

    CameraModel& m_camera;
    Bytes m_frame;
    std::uint8_t m_last_flags = 0;
};

std::vector<Section> ParseContainer(const Bytes& container);

}  // namespace vcam::test

#endif
