// Combinations of streams that recording can ask the controller for.
#ifndef TORVIK_CAMERA_STREAM_COMBINATIONS_H
#define TORVIK_CAMERA_STREAM_COMBINATIONS_H

#include <cstdint>

#include "api/cam_types.h"
#include "camera/tv_platforms.h"

struct VideoModeRow {
    std::uint32_t mode;
    unsigned char signal_code;
    const char* log_line;
    const char* second_log_line;       ///< may be null
    BitrateRange TvPlatform::*silent;  ///< when it has no sound, by platform
};

constexpr VideoModeRow kVideoModes[] = {
    {0, CAM_SIGNAL_H264_H264, "Video mode is Dual H264\r\n", "Set KVR signal type = 0x07 \r\n",
     &TvPlatform::silent_dual_h264},
    {1, CAM_SIGNAL_H264_MJPEG, "Video mode is H264+JPEG\r\n", nullptr, &TvPlatform::silent_jpeg},
    {2, CAM_SIGNAL_H264_MJPEG, "Video mode is H264+JPEG\r\n", nullptr, &TvPlatform::silent_jpeg},
};

struct SignalTypeRow {
    CAM_SIGNAL_TYPE type;
    const char* log_line;
};

constexpr SignalTypeRow kSignalTypes[] = {
    {CAM_SIGNAL_H264_YUYV, "Signale Type = CAM_SIGNAL_H264_YUYV\r\n"},
    {CAM_SIGNAL_H264_GRAY, "Signale Type = CAM_SIGNAL_H264_GRAY\r\n"},
    {CAM_SIGNAL_GRAY, "Signale Type = CAM_SIGNAL_GRAY\r\n"},
    {CAM_SIGNAL_H264_H264_GRAY, "Signale Type = CAM_SIGNAL_H264_H264_GRAY\r\n"},
    {CAM_SIGNAL_H264_NV21, "Signale Type = CAM_SIGNAL_H264_NV21\r\n"},
    {CAM_SIGNAL_H264_GRAY_JPEG, "Signale Type = CAM_SIGNAL_H264_GRAY_JPEG\r\n"},
    {CAM_SIGNAL_H264_GRAY_SI, "Signale Type = CAM_SIGNAL_H264_GRAY_SI\r\n"},
    {CAM_SIGNAL_H264_H264, "Signale Type = CAM_SIGNAL_H264_H264\r\n"},
    {CAM_SIGNAL_H264_MJPEG, "Signale Type = CAM_SIGNAL_H264_MJPEG\r\n"},
};

/// Null for a mode there is not.
inline const VideoModeRow* FindVideoMode(std::uint32_t mode)
{
    for (const VideoModeRow& row : kVideoModes) {
        if (row.mode == mode)
            return &row;
    }
    return nullptr;
}

/// Null for a type there is not.
inline const SignalTypeRow* FindSignalType(std::uint32_t type)
{
    for (const SignalTypeRow& row : kSignalTypes) {
        if (row.type == type)
            return &row;
    }
    return nullptr;
}

#endif
