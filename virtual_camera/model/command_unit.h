// The extension unit: the controller's own commands.
#ifndef VIRTUAL_CAMERA_MODEL_COMMAND_UNIT_H
#define VIRTUAL_CAMERA_MODEL_COMMAND_UNIT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>

#include "virtual_camera/model/bytes.h"
#include "virtual_camera/model/options.h"
#include "virtual_camera/model/video_stream.h"

namespace vcam {

/// What the controller was told last.
struct ControllerState {
    bool led = false;
    std::uint32_t video_options = 0x01;
    std::uint8_t stream_target = 0;
    std::array<std::uint16_t, 2> bit_rate{{0, 0}};  ///< kbit/s; 0: never set
    std::array<std::uint16_t, 2> frame_rate{{0, 0}};
    std::array<std::uint8_t, 14> preview{};  ///< parameter bytes after the signal type
    std::uint8_t user_flag = 0;
    bool flash_protected = true;
    std::uint64_t key_requests = 0;
    std::uint64_t still_requests = 0;
    std::uint64_t self_tests = 0;
};

class CommandUnit
{
public:
    enum Selector : std::uint8_t {
        kIspCommand = 1,
        kIspResult = 2,
        kImageData = 3,
        kIndicator = 4,
        kMmpCommand = 14,
        kMmpResult = 15,
    };
    /// What a command asks of the rest of the camera.
    enum class Effect { kRefused, kNone, kBeginDownload, kImageBlock, kBurn };

    CommandUnit(const CameraOptions& options, VideoStream& video);

    void Reset();
    /// The version that the firmware-version command reports.
    void SetVersion(const std::array<std::uint8_t, 6>& version) { m_version = version; }

    Effect Set(std::uint8_t selector, const std::uint8_t* data, std::size_t length);
    bool Get(std::uint8_t request, std::uint8_t selector, Bytes& reply) const;

    const ControllerState& State() const { return m_state; }
    std::uint16_t SensorRegister(std::uint16_t address) const;
    void SetSensorRegister(std::uint16_t address, std::uint16_t value);

private:
    using IspFrame = std::array<std::uint8_t, 8>;
    using MmpFrame = std::array<std::uint8_t, 16>;

    void Isp(const IspFrame& command);
    void Mmp(const MmpFrame& command);

    const CameraOptions& m_options;
    VideoStream& m_video;
    std::array<std::uint8_t, 6> m_version;
    ControllerState m_state;
    std::map<std::uint16_t, std::uint16_t> m_sensor;
    std::uint8_t m_protect_step = 0;
    IspFrame m_isp_command{}, m_isp_result{}, m_indicator{};
    MmpFrame m_mmp_command{}, m_mmp_result{};
};

}  // namespace vcam

#endif
