#include "camera/tv_platform.h"

#include <cstdio>

#include "runtime/debug_log.h"

namespace {

constexpr char kConstructor[] = "CKelVeskCamera";  // logs under its name
constexpr char kInfoPath[] = "/mtd_exe/.info";
constexpr std::size_t kInfoSize = 256;

/// A test of one byte of the identification.
struct ByteTest {
    enum Kind { kAny, kIs, kIsNot };
    Kind kind;
    std::size_t offset;
    char value;
};

bool Holds(const ByteTest& test, const char* info)
{
    switch (test.kind) {
    case ByteTest::kIs:
        return info[test.offset] == test.value;
    case ByteTest::kIsNot:
        return info[test.offset] != test.value;
    case ByteTest::kAny:
        break;
    }
    return true;
}

struct PlatformRow {
    ByteTest first;
    ByteTest second;
    const char* log_line;
    unsigned log_level;
    std::uint32_t tv_platform;
    std::uint32_t use_signal_type;
    std::uint32_t video_mode;
    CAM_SIGNAL_TYPE signal_type;
};

/// The first row that fits wins; the last fits always.
constexpr PlatformRow kPlatforms[] = {
    {{ByteTest::kIs, 5, '1'}, {ByteTest::kIs, 6, '2'},
     "TV platform is Brevan \r\n", kLogFatal, 5, 1, 1, CAM_SIGNAL_H264_GRAY_SI},
    {{ByteTest::kIs, 5, '1'}, {ByteTest::kIs, 6, '0'},
     "TV platform is Calder \r\n", kLogFatal, 4, 0, 0, CAM_SIGNAL_H264_H264},
    {{ByteTest::kIs, 2, 'E'}, {ByteTest::kIs, 4, 'P'},
     "TV platform is Dorsin \r\n", kLogDebugging, 3, 0, 0, CAM_SIGNAL_H264_H264},
    {{ByteTest::kIsNot, 2, 'E'}, {ByteTest::kIs, 4, 'P'},
     "TV platform is Ferrow_A \r\n", kLogFatal, 2, 0, 0, CAM_SIGNAL_H264_H264},
    {{ByteTest::kAny, 2, 0}, {ByteTest::kIs, 4, 'S'},
     "TV platform is Ferrow_B \r\n", kLogFatal, 1, 0, 1, CAM_SIGNAL_H264_MJPEG},
    {{ByteTest::kAny, 0, 0}, {ByteTest::kAny, 0, 0},
     "We can not support TV \r\n", kLogDebugging, 0, 0, 1, CAM_SIGNAL_H264_GRAY_SI},
};

/// The rest of `info` stays zero when the file is short or missing.
void ReadInfo(char (&info)[kInfoSize])
{
    std::FILE* const file = std::fopen(kInfoPath, "r");
    if (file == nullptr) {
        CAM_LOG_AS(kConstructor, kLogFatal, "fail to open info file\n");
        return;
    }
    static_cast<void>(std::fread(info, 1, sizeof info, file) > 0);
    std::fclose(file);
}

}  // namespace

void DetectTvPlatform(CameraSettings& settings)
{
    char info[kInfoSize] = {};
    ReadInfo(info);
    for (const PlatformRow& row : kPlatforms) {
        if (!Holds(row.first, info) || !Holds(row.second, info))
            continue;
        CAM_LOG_AS(kConstructor, row.log_level, "%s", row.log_line);
        settings.tv_platform = row.tv_platform;
        settings.use_signal_type = row.use_signal_type;
        settings.video_mode = row.video_mode;
        settings.signal_type = row.signal_type;
        break;
    }
    CAM_LOG_AS(kConstructor, kLogFatal, "%s",
               settings.use_signal_type == 1 ? "Use sinal type property\r\n"
                                             : "Use video mode property\r\n");
}
