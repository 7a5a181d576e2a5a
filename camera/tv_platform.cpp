#include "camera/tv_platform.h"

#include <cstdio>

#include "camera/tv_platforms.h"
#include "runtime/debug_log.h"

namespace {

constexpr char kConstructor[] = "CKelVeskCamera";  // logs under its name
constexpr char kInfoPath[] = "/mtd_exe/.info";

/// The rest of `info` stays zero when the file is short or missing.
void ReadInfo(char (&info)[kTvInfoSize])
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
    char info[kTvInfoSize] = {};
    ReadInfo(info);
    const TvPlatform& platform = IdentifyTv(info);
    CAM_LOG_AS(kConstructor, platform.log_level, "%s", platform.log_line);
    settings.tv_platform = platform.code;
    settings.offers_signal_types = platform.offers_signal_types;
    settings.use_signal_type = platform.use_signal_type;
    settings.video_mode = platform.video_mode;
    settings.signal_type = platform.signal_type;
    CAM_LOG_AS(kConstructor, kLogFatal, "%s",
               settings.use_signal_type == 1 ? "Use sinal type property\r\n"
                                             : "Use video mode property\r\n");
}
