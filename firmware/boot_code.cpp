// Boot-code updates.

#include "api/firmware_download.h"
#include "firmware/download_scope.h"
#include "firmware/firmware_loader.h"
#include "firmware/image_file.h"
#include "runtime/byte_order.h"
#include "runtime/debug_log.h"
#include "runtime/sleep.h"

namespace {

constexpr long kVersionWordOffset = 0x2032;
constexpr unsigned kMagicShift = 20;
constexpr std::uint32_t kVersionMask = 0x000FFFFF;
constexpr std::uint32_t kMagic = static_cast<std::uint32_t>(BOOTCODE_MAGIC) << kMagicShift;
constexpr unsigned long kSettleSeconds = 3;
constexpr unsigned kBootCodeType = 1;

/// The version word, 0 when the file is too short for one.
std::uint32_t ReadVersionWord(std::FILE* file)
{
    unsigned char bytes[4];
    if (std::fseek(file, kVersionWordOffset, SEEK_SET) != 0 ||
        std::fread(bytes, 1, sizeof bytes, file) != sizeof bytes)
        return 0;
    return ReadLe32(bytes);
}

}  // namespace

int CCameraFwLoader::UpdateBootCode(_KelDevHandle* device, char* path,
                                    unsigned long deviceVersion)
{
    if (path == nullptr)
        return kCamUnsupported;
    const DownloadScope scope;
    OpenedFile file = OpenForReading(path);
    if (!file.exists) {
        CAM_LOG(kLogDebugging,
                "New firmware file does not found. skip firmware update procdure.\r\n");
        return 0;
    }
    const long size = file.regular ? FileSize(file.handle.get()) : -1;
    const bool usable = size >= kVersionWordOffset + 4 && size <= kMaxFileSize;
    const std::uint32_t word = file.regular ? ReadVersionWord(file.handle.get()) : 0;
    file.handle.reset();

    CAM_LOG(kLogDebugging, "FwVerCode=0x%X\r\n", word);
    if (!usable || (word & ~kVersionMask) != kMagic) {
        CAM_LOG(kLogDebugging, "Boot code binary incorrect. skip update procedure.\r\n");
        return kCamUnsupported;
    }

    const std::uint32_t version = word & kVersionMask;
    CAM_LOG(kLogDebugging, "Bootcode file path is: %s\r\n", path);
    CAM_LOG(kLogDebugging,
            "Found a new bootcode binary. binary version is 0x%X, device version is 0x%X\r\n",
            version, static_cast<unsigned>(deviceVersion));
    if (deviceVersion >= version)
        return 0;

    CAM_LOG(kLogDebugging, "Start to update bootcode. New version is 0x%X.\r\n", version);
    SleepSeconds(kSettleSeconds);
    const int result = UpdateFirmwareUvcPath(device, path, kBootCodeType);
    if (result != 0)
        CAM_LOG(kLogDebugging, "CCameraFwLoader :Failed to load firmware, exit. \r\n");
    CAM_LOG(kLogDebugging, "Boot code update done.\r\n");
    return result;
}
