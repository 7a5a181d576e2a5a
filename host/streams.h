// What camhost knows about each stream of the camera.
#ifndef TORVIK_HOST_STREAMS_H
#define TORVIK_HOST_STREAMS_H

#include <array>
#include <string>

#include "api/cam_types.h"

namespace host {

enum class StreamKind { kAudio, kVideo, kStill, kRaw };

struct StreamInfo {
    CAM_STREAM stream;
    const char* name;
    StreamKind kind;
};

constexpr std::array<StreamInfo, 9> kStreams = {{
    {CAM_STREAM_H264_MAIN, "main", StreamKind::kVideo},
    {CAM_STREAM_H264_SUB, "sub", StreamKind::kVideo},
    {CAM_STREAM_PCM, "audio", StreamKind::kAudio},
    {CAM_STREAM_JPEG, "still", StreamKind::kStill},
    {CAM_STREAM_MJPEG, "mjpeg", StreamKind::kStill},
    {CAM_STREAM_GRAY, "gray", StreamKind::kRaw},
    {CAM_STREAM_NV12, "nv12", StreamKind::kRaw},
    {CAM_STREAM_NV21, "nv21", StreamKind::kRaw},
    {CAM_STREAM_YUYV, "yuyv", StreamKind::kRaw},
}};

struct SignalInfo {
    CAM_SIGNAL_TYPE type;
    const char* name;
    bool main;  ///< carries the main H.264 stream
};

constexpr std::array<SignalInfo, 9> kSignals = {{
    {CAM_SIGNAL_H264_YUYV, "H264_YUYV", true},
    {CAM_SIGNAL_H264_GRAY, "H264_GRAY", true},
    {CAM_SIGNAL_GRAY, "GRAY", false},
    {CAM_SIGNAL_H264_H264_GRAY, "H264_H264_GRAY", true},
    {CAM_SIGNAL_H264_NV21, "H264_NV21", true},
    {CAM_SIGNAL_H264_GRAY_JPEG, "H264_GRAY_JPEG", true},
    {CAM_SIGNAL_H264_GRAY_SI, "H264_GRAY_SI", true},
    {CAM_SIGNAL_H264_H264, "H264_H264", true},
    {CAM_SIGNAL_H264_MJPEG, "H264_MJPEG", true},
}};

/// Throws a usage error that lists the names.
const SignalInfo& SignalByName(const std::string& name);

/// The microphone's bytes, of 16 bits a sample, in a millisecond.
constexpr int kAudioBytesPerMs = kCamAudioRate / 1000 * kCamAudioChannels * 2;

}  // namespace host

#endif
