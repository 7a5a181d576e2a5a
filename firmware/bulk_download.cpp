// Downloads over the vendor bulk endpoint.

#include <algorithm>

#include "api/firmware_download.h"
#include "devcmd/control_transfer.h"
#include "devcmd/device_requests.h"
#include "firmware/download_scope.h"
#include "firmware/image_file.h"
#include "runtime/byte_order.h"
#include "runtime/debug_log.h"

namespace {

constexpr unsigned char kBulkOutEndpoint = 0x01;

/// Vendor requests of the download.
enum : unsigned char {
    kAnnounce = 0x82,
    kBurnFirmware = 0x03,
    kBurnType3 = 0x05,
    kBurnType2 = 0x06,
    kCheckSum = 0x07,
    kBurnBootLoader = 0x08,
};

constexpr unsigned kAnnounceTimeoutMs = 1000;
constexpr unsigned kBootLoaderBurnTimeoutMs = 1000;
constexpr unsigned kBurnTimeoutMs = 30000;  // erases and writes the flash

enum class BlockFailure {
    kIgnored,   ///< the answer to the burn request is the only verdict
    kReported,  ///< time-outs count as sent, anything else fails
};

/// How one procedure sends its image.
struct BulkDownload {
    const char* procedure;
    std::size_t block_size;
    unsigned block_timeout_ms;
    BlockFailure block_failure;
};

constexpr BulkDownload kPcsync = {"UpdateFirmwarePcsyncPath", 512, 100, BlockFailure::kIgnored};
constexpr BulkDownload kRunning = {"UpdateFirmware", 32768, 5000, BlockFailure::kReported};
constexpr BulkDownload kCheckSummed = {"UpdateKelFirmwareWithCheckSum", 32768, 1000,
                                       BlockFailure::kIgnored};

/// Burn request by the type argument of UpdateFirmware.
constexpr struct {
    unsigned type;
    unsigned char request;
} kBurnByType[] = {
    {1, kBurnFirmware},
    {2, kBurnType2},
    {3, kBurnType3},
    {4, kBurnBootLoader},
};

unsigned char BurnRequestOf(unsigned type)
{
    for (const auto& row : kBurnByType) {
        if (row.type == type)
            return row.request;
    }
    return kBurnFirmware;
}

int SendSizeRequest(_KelDevHandle* device, unsigned char request, std::size_t size,
                    unsigned timeout_ms)
{
    return libusb_control_transfer_(device->handle, kVendorDeviceOut, request,
                                    static_cast<unsigned short>(size & 0xFFFF),
                                    static_cast<unsigned short>(size >> 16), nullptr, 0,
                                    timeout_ms);
}

/// False when a block failed for good; logged.
bool SendBlocks(_KelDevHandle* device, const Image& image, const BulkDownload& download)
{
    for (std::size_t sent = 0; sent < image.size; sent += download.block_size) {
        const std::size_t length = std::min(download.block_size, image.size - sent);
        int moved = 0;
        const int result =
            libusb_bulk_transfer(device->handle, kBulkOutEndpoint, image.data.get() + sent,
                                 static_cast<int>(length), &moved, download.block_timeout_ms);
        if (result >= 0 || download.block_failure == BlockFailure::kIgnored)
            continue;
        if (result == LIBUSB_ERROR_TIMEOUT) {
            CAM_LOG_AS(download.procedure, kLogDebugging, "PCSYNC_BULK_OUT_EP(%d) timeout.\r\n",
                       kBulkOutEndpoint);
            continue;
        }
        CAM_LOG_AS(download.procedure, kLogDebugging, "PCSYNC_BULK_OUT_EP(%d) Error.\r\n",
                   kBulkOutEndpoint);
        return false;
    }
    return true;
}

/// Announces and sends the image and frees it.
bool SendImage(_KelDevHandle* device, Image image, const BulkDownload& download)
{
    SendSizeRequest(device, kAnnounce, image.size, kAnnounceTimeoutMs);
    return SendBlocks(device, image, download);
}

int Verdict(const char* procedure, bool burnt)
{
    if (!burnt) {
        CAM_LOG_AS(procedure, kLogFatal, "Update flash failed.\r\n");
        return kCamUnsupported;
    }
    CAM_LOG_AS(procedure, kLogFatal, "Update flash successfully.\r\n");
    return 0;
}

}  // namespace

int UpdateFirmwarePcsyncPath(_KelDevHandle* device, char* path, unsigned)
{
    if (device == nullptr || path == nullptr)
        return kCamUnsupported;
    const DownloadScope scope;
    Image image = LoadImage(path, {__func__, kLogDebugging, 1, kPcsync.block_size, true});
    if (image.data == nullptr)
        return kCamUnsupported;
    const std::size_t size = image.size;
    SendImage(device, std::move(image), kPcsync);
    CAM_LOG(kLogDebugging, "Start burning.\r\n");
    const int result = SendSizeRequest(device, kBurnBootLoader, size, kBootLoaderBurnTimeoutMs);
    // The controller may drop off the bus before it answers.
    return Verdict(__func__, result == 0 || result == LIBUSB_ERROR_NO_DEVICE);
}

int UpdateFirmware(_KelDevHandle* device, char* path, unsigned type)
{
    if (device == nullptr || path == nullptr)
        return kCamUnsupported;
    const DownloadScope scope;
    Image image = LoadImage(path, {__func__, kLogDebugging, 0, 0, false});
    if (image.data == nullptr)
        return kCamUnsupported;
    const std::size_t size = image.size;
    if (!SendImage(device, std::move(image), kRunning))
        return kCamUnsupported;
    CAM_LOG(kLogDebugging, "Start burning.\r\n");
    return Verdict(__func__,
                   SendSizeRequest(device, BurnRequestOf(type), size, kBurnTimeoutMs) >= 0);
}

int UpdateKelFirmwareWithCheckSum(_KelDevHandle* device, char* path, long long checksum)
{
    if (device == nullptr || path == nullptr)
        return kCamUnsupported;
    const DownloadScope scope;
    Image image = LoadImage(path, {__func__, kLogDebugging, 0, 0, false});
    if (image.data == nullptr)
        return kCamUnsupported;
    const std::size_t size = image.size;
    SendImage(device, std::move(image), kCheckSummed);
    CAM_LOG(kLogDebugging, "Start burning.\r\n");

    const auto bits = static_cast<unsigned long long>(checksum);
    unsigned char record[12];
    WriteLe32(record, static_cast<std::uint32_t>(bits));
    WriteLe32(record + 4, static_cast<std::uint32_t>(bits >> 32));
    WriteLe32(record + 8, static_cast<std::uint32_t>(size));
    if (libusb_control_transfer_(device->handle, kVendorDeviceOut, kCheckSum, 0, 0, record,
                                 sizeof record, kBurnTimeoutMs) < 0) {
        CAM_LOG(kLogFatal, "Check sum does not match.\r\n");
        return kCamUnsupported;
    }
    return Verdict(__func__, SendSizeRequest(device, kBurnFirmware, size, kBurnTimeoutMs) >= 0);
}
