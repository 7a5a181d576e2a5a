// Frames of the controller's own commands, as they travel through the
// extension unit. Unused bytes are 0, multi-byte values little-endian.
#ifndef TORVIK_DEVCMD_COMMAND_FRAMES_H
#define TORVIK_DEVCMD_COMMAND_FRAMES_H

#include <array>
#include <cstdint>

#include "runtime/byte_order.h"

/// UVC requests (UVC 1.5, A.8).
enum : unsigned char {
    kSetCur = 0x01,
    kGetCur = 0x81,
    kGetMin = 0x82,
    kGetMax = 0x83,
};

/// Entities of the camera's VideoControl interface.
enum : unsigned char {
    kCameraTerminalId = 1,
    kProcessingUnitId = 3,
    kExtensionUnitId = 6,
};

/// Controls of the extension unit.
enum : unsigned char {
    kXuIspCommand = 1,
    kXuIspResult = 2,
    kXuDownloadData = 3,
    kXuLed = 4,       ///< the indicator LED; the boot loader takes download commands here
    kXuDownload = 4,
    kXuMmpCommand = 14,
    kXuMmpResult = 15,
};

/// Camera-terminal controls (UVC 1.5, A.9.4).
enum : unsigned char {
    kCtFocusAbsolute = 0x06,
    kCtZoomAbsolute = 0x0B,
    kCtPanTiltAbsolute = 0x0D,
};

using IspFrame = std::array<unsigned char, 8>;
using MmpFrame = std::array<unsigned char, 16>;

constexpr IspFrame IspSetFramerate(std::uint16_t fps)
{
    return {2, ByteOf(fps, 0), ByteOf(fps, 1)};
}

constexpr IspFrame IspRequestKeyFrame()
{
    return {4};
}

constexpr IspFrame IspSetBitrate(std::uint16_t bitrate)
{
    return {8, 0xFF, ByteOf(bitrate, 0), ByteOf(bitrate, 1)};
}

constexpr IspFrame IspReadSensor(std::uint16_t address)
{
    return {10, 2, ByteOf(address, 0), ByteOf(address, 1)};
}

constexpr IspFrame IspWriteSensor(std::uint16_t address, std::uint16_t value)
{
    return {10, 3, ByteOf(address, 0), ByteOf(address, 1), ByteOf(value, 0), ByteOf(value, 1)};
}

constexpr IspFrame IspFirmwareVersion()
{
    return {11};
}

constexpr IspFrame IspStatus()
{
    return {18};
}

constexpr IspFrame LedFrame(unsigned char on)
{
    return {14, 0, on};
}

/// Selects the combination of streams.
constexpr MmpFrame MmpSignalType(unsigned char code)
{
    return {1, code};
}

constexpr MmpFrame MmpSetVideoOption(std::uint32_t options)
{
    return {2, 2, ByteOf(options, 0), ByteOf(options, 1), ByteOf(options, 2), ByteOf(options, 3)};
}

constexpr MmpFrame MmpQueryVideoOption()
{
    return {2, 1};
}

constexpr MmpFrame MmpTriggerJpeg()
{
    return {3};
}

constexpr MmpFrame MmpFlashWriteProtect(unsigned char step)
{
    return {7, step};
}

/// Selects the encoder that the following bit-rate and frame-rate commands
/// address: 0 main, 1 sub.
constexpr MmpFrame MmpStreamTarget(unsigned char stream)
{
    return {13, stream};
}

constexpr MmpFrame MmpUserFlag(unsigned char flag)
{
    return {16, flag};
}

constexpr MmpFrame MmpSelfTest()
{
    return {18};
}

#endif
