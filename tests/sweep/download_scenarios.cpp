// Scenarios with the exported downloads, called as a host calls them.
#include "api/device_commands.h"
#include "api/firmware_download.h"
#include "api/torvik_camera.h"
#include "firmware/firmware_loader.h"
#include "tests/sweep/scenario.h"
#include "tests/sweep/stage.h"
#include "virtual_camera/model/firmware_image.h"

namespace sweep {
namespace {

/// Where a download goes.
struct Target {
    vcam::Identity identity;
    unsigned short product;
    unsigned char interface;
};
constexpr Target kBulkLoader = {vcam::Identity::kBootLoaderBulk, TORVIK_CAM_BOOT_PRODUCT_ID, 2};
constexpr Target kUvcLoader = {vcam::Identity::kBootLoaderUvc, TORVIK_CAM_BOOT_PRODUCT_ID, 0};
constexpr Target kRunning = {vcam::Identity::kCamera, TORVIK_CAM_PRODUCT_ID, 4};

char g_firmware[] = "/mtd_rwarea/wiru/bin/TorvikFW.bin";
char g_boot_code[] = "/mtd_rwarea/wiru/bin/TorvikBC.bin";

template <typename Download>
void PlayDownload(Stage& stage, const Target& target, Download download)
{
    // Its construction sets the level of the log.
    ICameraSubject* const camera = cam_create();
    vcam::CameraOptions options;
    options.identity = target.identity;
    options.burn_time = 0;
    options.reboot_time = 1000;
    stage.Plug(options);
    stage.Begin("open");
    _KelDevHandle* const device =
        OpenKelDevice(TORVIK_CAM_VENDOR_ID, target.product, target.interface);
    stage.Result("open", device != nullptr);
    if (device != nullptr) {
        stage.Begin("download");
        stage.Result("download", download(device));
        stage.Begin("close");
        CloseKelDevice(device);
    }
    stage.End();
    cam_destroy(camera);
}

/// The sum that the device makes of the firmware file.
long long Checksum()
{
    long long sum = 0;
    for (std::size_t i = 0; i < 1300; ++i)
        sum += static_cast<long long>(i % 251);
    return sum;
}

}  // namespace

void PlayUpdateFirmware(Stage& stage)
{
    PlayDownload(stage, kRunning,
                 [](_KelDevHandle* device) { return UpdateFirmware(device, g_firmware, 1); });
}

void PlayChecksum(Stage& stage)
{
    PlayDownload(stage, kRunning, [](_KelDevHandle* device) {
        return UpdateKelFirmwareWithCheckSum(device, g_firmware, Checksum());
    });
}

void PlayPcsync(Stage& stage)
{
    PlayDownload(stage, kBulkLoader, [](_KelDevHandle* device) {
        return UpdateFirmwarePcsyncPath(device, g_firmware, 4);
    });
}

void PlayUvcDownload(Stage& stage)
{
    PlayDownload(stage, kUvcLoader, [](_KelDevHandle* device) {
        return UpdateFirmwareUvcPath(device, g_firmware, 4);
    });
}

void PlayBootCode(Stage& stage)
{
    PlayDownload(stage, kUvcLoader, [](_KelDevHandle* device) {
        CCameraFwLoader loader(nullptr, nullptr, nullptr);
        return loader.UpdateBootCode(device, g_boot_code, 1);
    });
}

void PlayWriteProtection(Stage& stage)
{
    PlayDownload(stage, kUvcLoader,
                 [](_KelDevHandle* device) { return DisableFlashWP(device); });
}

}  // namespace sweep
