// What the camera object remembers of the host's wishes.
#ifndef TORVIK_CONTROL_CAMERA_SETTINGS_H
#define TORVIK_CONTROL_CAMERA_SETTINGS_H

#include <atomic>
#include <cstdint>

#include "api/cam_types.h"

/// Guarded by m_video_ctrl_lock, but for what says otherwise. The defaults are
/// those of a new camera object.
struct CameraSettings {
    static constexpr unsigned kRecordedProperties = 69;

    std::uint32_t bitrate = 2000000;  ///< main stream, bit/s
    std::uint32_t frame_rate = 30;
    std::uint16_t width = 640;
    std::uint16_t height = 480;
    std::uint32_t mic_volume = 30;  ///< percent
    std::uint32_t audio_rate = kCamAudioRate;
    std::uint32_t reserved_setting_1 = 2;
    std::uint32_t reserved_setting_2 = 0;
    /// Computed by each start: option bits of the controller, whether there is
    /// audio, and whether main key frames are split.
    std::uint8_t video_option_flag = 0;
    std::uint32_t use_signal_type = 0;  ///< 1: signal_type configures recording, else video_mode
    std::uint32_t video_mode = 1;
    std::uint32_t signal_type = CAM_SIGNAL_H264_GRAY_SI;
    // The television's; constant once the camera is constructed.
    std::uint32_t tv_platform = 5;
    bool offers_signal_types = true;  ///< whether a host may switch to signal types
    std::uint32_t crop_size = 0;  ///< w and h in the low and high half
    std::uint8_t user_flag = 0;
    /// Values of properties that are recorded and have no effect, by id.
    std::int32_t recorded[kRecordedProperties] = {};

    // The crop position asked for; guarded by m_observer_lock.
    std::uint16_t m_pending_crop_x = 0;
    std::uint16_t m_pending_crop_y = 0;

    /// Last format asked for; unguarded.
    std::atomic<CAM_STR_FORMAT> stream_format{CAM_STR_FORMAT_H264};
    /// One-shot still request; cleared by the video capture thread.
    std::atomic<std::uint8_t> m_send_jpeg{0};
};

#endif
