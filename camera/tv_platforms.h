// The televisions that the camera is built into, and how it serves each.
#ifndef TORVIK_CAMERA_TV_PLATFORMS_H
#define TORVIK_CAMERA_TV_PLATFORMS_H

#include <cstddef>
#include <cstdint>

#include "api/cam_types.h"
#include "runtime/debug_log.h"

enum : std::uint32_t {
    kPlatformUnsupported = 0,
    kPlatformFerrowB = 1,
    kPlatformFerrowA = 2,
    kPlatformDorsin = 3,
    kPlatformCalder = 4,
    kPlatformBrevan = 5,
};

constexpr std::size_t kTvInfoSize = 256;

/// A test of one byte of the television's identification.
struct ByteTest {
    enum Kind { kAny, kIs, kIsNot };
    Kind kind;
    std::size_t offset;
    char value;

    constexpr bool Passes(const char (&info)[kTvInfoSize]) const
    {
        return kind == kAny || (info[offset] == value) == (kind == kIs);
    }
};

/// Main bit rates, bit/s.
struct BitrateRange {
    std::uint32_t low;
    std::uint32_t high;

    constexpr bool Holds(std::uint32_t bitrate) const { return low <= bitrate && bitrate <= high; }
};

constexpr BitrateRange kNoBitrate = {1, 0};
constexpr BitrateRange kAnyBitrate = {0, UINT32_MAX};
/// The one at which hosts of some platforms take no sound from the camera.
constexpr BitrateRange kSilentBitrate = {1500000, 1500000};

struct TvPlatform {
    std::uint32_t code;
    ByteTest first;  ///< both tests have to pass
    ByteTest second;
    const char* log_line;
    unsigned log_level;
    /// How recording is configured until the host says otherwise.
    std::uint32_t use_signal_type;
    std::uint32_t video_mode;
    CAM_SIGNAL_TYPE signal_type;
    bool offers_signal_types;  ///< CAM_CAPABILITY_SIGNAL_TYPE
    bool has_sub_stream;
    unsigned sub_frame_rate;  ///< of the sub stream, if there is one
    /// Bit rates at which recordings by video mode have no sound.
    BitrateRange silent_dual_h264;
    BitrateRange silent_jpeg;
};

// clang-format off
/// In the order of the tests; the last takes what no other did.
inline constexpr TvPlatform kTvPlatforms[] = {
    // code, tests, log line and level,
    //     use_signal_type, video_mode, signal_type, offered, sub stream and rate, silent at
    {kPlatformBrevan, {ByteTest::kIs, 5, '1'}, {ByteTest::kIs, 6, '2'},
     "TV platform is Brevan \r\n", kLogFatal,
     1, 1, CAM_SIGNAL_H264_GRAY_SI, true, true, 15, kNoBitrate, kAnyBitrate},
    {kPlatformCalder, {ByteTest::kIs, 5, '1'}, {ByteTest::kIs, 6, '0'},
     "TV platform is Calder \r\n", kLogFatal,
     0, 0, CAM_SIGNAL_H264_H264, false, true, 15, kNoBitrate, kAnyBitrate},
    {kPlatformDorsin, {ByteTest::kIs, 2, 'E'}, {ByteTest::kIs, 4, 'P'},
     "TV platform is Dorsin \r\n", kLogDebugging,
     0, 0, CAM_SIGNAL_H264_H264, false, true, 15, kNoBitrate, kAnyBitrate},
    {kPlatformFerrowA, {ByteTest::kIsNot, 2, 'E'}, {ByteTest::kIs, 4, 'P'},
     "TV platform is Ferrow_A \r\n", kLogFatal,
     0, 0, CAM_SIGNAL_H264_H264, false, true, 30, kSilentBitrate, kAnyBitrate},
    {kPlatformFerrowB, {ByteTest::kAny, 2, 0}, {ByteTest::kIs, 4, 'S'},
     "TV platform is Ferrow_B \r\n", kLogFatal,
     0, 1, CAM_SIGNAL_H264_MJPEG, false, false, 0, kNoBitrate, kSilentBitrate},
    {kPlatformUnsupported, {ByteTest::kAny, 0, 0}, {ByteTest::kAny, 0, 0},
     "We can not support TV \r\n", kLogDebugging,
     0, 1, CAM_SIGNAL_H264_GRAY_SI, false, true, 15, kNoBitrate, kAnyBitrate},
};
// clang-format on

constexpr const TvPlatform& UnsupportedTv()
{
    return kTvPlatforms[sizeof kTvPlatforms / sizeof kTvPlatforms[0] - 1];
}

constexpr const TvPlatform& IdentifyTv(const char (&info)[kTvInfoSize])
{
    for (const TvPlatform& platform : kTvPlatforms) {
        if (platform.first.Passes(info) && platform.second.Passes(info))
            return platform;
    }
    return UnsupportedTv();
}

/// The row of a code; an unknown one is that of an unsupported television.
constexpr const TvPlatform& TvPlatformOf(std::uint32_t code)
{
    for (const TvPlatform& platform : kTvPlatforms) {
        if (platform.code == code)
            return platform;
    }
    return UnsupportedTv();
}

#endif
