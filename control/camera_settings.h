// What the camera object remembers of the host's wishes.
#ifndef TORVIK_CONTROL_CAMERA_SETTINGS_H
#define TORVIK_CONTROL_CAMERA_SETTINGS_H

#include <atomic>
#include <cstdint>

#include "api/cam_types.h"
#include "runtime/process_locks.h"

/// The defaults are those of a new camera object.
struct CameraSettings {
    static constexpr unsigned kRecordedProperties = 69;

    std::uint32_t bitrate GUARDED_BY(m_video_ctrl_lock) = 2000000;  ///< main stream, bit/s
    std::uint32_t frame_rate GUARDED_BY(m_video_ctrl_lock) = 30;
    std::uint16_t width GUARDED_BY(m_video_ctrl_lock) = 640;
    std::uint16_t height GUARDED_BY(m_video_ctrl_lock) = 480;
    std::uint32_t mic_volume GUARDED_BY(m_video_ctrl_lock) = 30;  ///< percent
    std::uint32_t audio_rate GUARDED_BY(m_video_ctrl_lock) = kCamAudioRate;
    std::uint32_t reserved_setting_1 GUARDED_BY(m_video_ctrl_lock) = 2;
    std::uint32_t reserved_setting_2 GUARDED_BY(m_video_ctrl_lock) = 0;
    /// Computed by each start: option bits of the controller, whether there is
    /// audio, and whether main key frames are split.
    std::uint8_t video_option_flag GUARDED_BY(m_video_ctrl_lock) = 0;
    /// 1: signal_type configures recording, else video_mode.
    std::uint32_t use_signal_type GUARDED_BY(m_video_ctrl_lock) = 0;
    std::uint32_t video_mode GUARDED_BY(m_video_ctrl_lock) = 1;
    std::uint32_t signal_type GUARDED_BY(m_video_ctrl_lock) = CAM_SIGNAL_H264_GRAY_SI;
    // The television's; constant once the camera is constructed.
    std::uint32_t tv_platform = 5;
    bool offers_signal_types = true;  ///< whether a host may switch to signal types
    /// w and h in the low and high half.
    std::uint32_t crop_size GUARDED_BY(m_video_ctrl_lock) = 0;
    std::uint8_t user_flag GUARDED_BY(m_video_ctrl_lock) = 0;
    /// Values of properties that are recorded and have no effect, by id.
    std::int32_t recorded[kRecordedProperties] GUARDED_BY(m_video_ctrl_lock) = {};

    // The crop position asked for.
    std::uint16_t m_pending_crop_x GUARDED_BY(m_observer_lock) = 0;
    std::uint16_t m_pending_crop_y GUARDED_BY(m_observer_lock) = 0;

    // Atomic.
    /// Last format asked for.
    std::atomic<CAM_STR_FORMAT> stream_format{CAM_STR_FORMAT_H264};
    /// One-shot still request; cleared by the video capture thread.
    std::atomic<std::uint8_t> m_send_jpeg{0};
};

#endif
