// Download through the extension unit.

#include <array>

#include "api/firmware_download.h"
#include "devcmd/command_frames.h"
#include "firmware/download_scope.h"
#include "firmware/image_file.h"
#include "runtime/debug_log.h"

namespace {

constexpr std::size_t kBlockSize = 32;
constexpr unsigned char kSet = 1;
constexpr IspFrame kUpdateInit = {0x01, 0x00, 0x03};
constexpr IspFrame kBurn = {0x01, 0x01, 0x03};

int SendDownloadCommand(_KelDevHandle* device, IspFrame frame)
{
    return KelXU_XuCmd(device, frame.data(), kXuDownload,
                       static_cast<unsigned char>(frame.size()), kSet);
}

}  // namespace

int UpdateFirmwareUvcPath(_KelDevHandle* device, char* path, unsigned)
{
    if (device == nullptr || path == nullptr)
        return kCamUnsupported;
    const DownloadScope scope;
    Image image = LoadImage(path, {__func__, kLogFatal, 0, kBlockSize, true});
    if (image.data == nullptr)
        return kCamUnsupported;

    CAM_LOG(kLogDebugging, "UVC path fw update init.\r\n");
    if (SendDownloadCommand(device, kUpdateInit) < 0)
        return kCamUnsupported;

    // The last block is filled up with the zeroes behind the image.
    CAM_LOG(kLogDebugging, "UVC path fw data transfer.\r\n");
    for (std::size_t sent = 0; sent < image.size; sent += kBlockSize) {
        if (KelXU_XuCmd(device, image.data.get() + sent, kXuDownloadData, kBlockSize, kSet) < 0)
            return kCamUnsupported;
    }
    image.data.reset();

    CAM_LOG(kLogDebugging, "Start burning.\r\n");
    SendDownloadCommand(device, kBurn);
    CAM_LOG(kLogFatal, "Update flash successfully.\r\n");
    return 0;
}
