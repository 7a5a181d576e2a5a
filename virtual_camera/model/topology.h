// The numbers by which the camera's parts are addressed.
#ifndef VIRTUAL_CAMERA_MODEL_TOPOLOGY_H
#define VIRTUAL_CAMERA_MODEL_TOPOLOGY_H

#include <array>
#include <cstdint>

namespace vcam {

enum Interface : std::uint8_t {
    kVideoControl = 0,
    kVideoStreaming = 1,
    kAudioControl = 2,
    kAudioStreaming = 3,
    kFlashInterface = 4,
    kBootInterface = 2,  ///< the boot loader's only useful one
};

enum Endpoint : std::uint8_t {
    kControlEndpoint = 0x00,
    kFlashEndpoint = 0x01,
    kVideoEndpoint = 0x81,
    kAudioEndpoint = 0x82,
};

enum Entity : std::uint8_t {
    kCameraTerminal = 1,
    kProcessingUnit = 3,
    kUsbTerminal = 4,
    kFeatureUnit = 5,  ///< audio
    kExtensionUnit = 6,
};

/// Class requests (UVC 1.0, A.8; UAC 1.0, A.9 has the first five).
enum Request : std::uint8_t {
    kSetCur = 0x01,
    kGetCur = 0x81,
    kGetMin = 0x82,
    kGetMax = 0x83,
    kGetRes = 0x84,
    kGetLen = 0x85,
    kGetInfo = 0x86,
    kGetDef = 0x87,
};

enum Format : std::uint8_t { kFormatYuy2 = 1, kFormatMjpeg = 2, kFormatMultiplexed = 3 };

struct FrameSize {
    std::uint16_t width, height;
};

/// By frame index, which counts from 1.
constexpr std::array<FrameSize, 5> kFrameSizes{
    {{640, 480}, {160, 120}, {320, 240}, {1280, 720}, {1920, 1080}}};
constexpr unsigned kMaxFps = 30;
constexpr std::uint32_t kClockFrequency = 48000000;

}  // namespace vcam

#endif
