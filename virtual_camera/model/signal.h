// Which streams the containers carry, by the chosen signal type.
#ifndef VIRTUAL_CAMERA_MODEL_SIGNAL_H
#define VIRTUAL_CAMERA_MODEL_SIGNAL_H

#include <array>
#include <cstdint>

namespace vcam {

struct Signal {
    const char* name;
    bool main, sub, jpeg, gray, nv12, nv21, yuy2;
};

constexpr std::array<Signal, 9> kSignals{{
    // name, main, sub, jpeg, gray, nv12, nv21, yuy2
    {"H264_YUYV", true, false, false, false, false, false, true},
    {"H264_GRAY", true, false, false, true, false, false, false},
    {"GRAY", false, false, false, true, false, false, false},
    {"H264_H264_GRAY", true, true, false, true, false, false, false},
    {"H264_NV21", true, false, false, false, false, true, false},
    {"H264_GRAY_JPEG", true, false, true, true, false, false, false},
    {"H264_GRAY_SI", true, false, false, true, true, false, false},  // still images in NV12
    {"H264_H264", true, true, false, false, false, false, false},
    {"H264_MJPEG", true, false, true, false, false, false, false},
}};
constexpr std::uint8_t kPowerOnSignal = 7;

}  // namespace vcam

#endif
