#include "firmware/version_report.h"

#include "firmware/image_file.h"
#include "runtime/debug_log.h"

namespace {

constexpr char kRun[] = "Run";
constexpr char kReportPath[] = "/dtv/cm_cam_version";
/// The television's own middle number, which the camera does not know.
constexpr unsigned kMiddle = 0x26;

}  // namespace

void WriteVersionReport(const unsigned char* version)
{
    const auto major = static_cast<unsigned>(version[0] << 8 | version[1]);
    const auto minor = static_cast<unsigned>(version[4] << 8 | version[5]);
    CAM_LOG_AS(kRun, kLogFatal, "Camera-Version:%x.%02x.%02x", major, kMiddle, minor);
    const FileHandle file(std::fopen(kReportPath, "w+t"));
    if (file == nullptr) {
        CAM_LOG_AS(kRun, kLogFatal, "Can't open file. %s!!!\r\n", kReportPath);
        return;
    }
    std::fprintf(file.get(), "%x.%02x.%02x", major, kMiddle, minor);
}
