#include "firmware/firmware_loader.h"

#include <libusb.h>

#include "api/firmware_download.h"
#include "firmware/download_scope.h"
#include "firmware/version_report.h"
#include "runtime/debug_log.h"
#include "runtime/sleep.h"
#include "usb/device_loss.h"
#include "usb/usb_identity.h"

namespace {

constexpr char kRun[] = "Run";  // the steps log under its name
constexpr unsigned char kPcsyncInterface = 2;
constexpr unsigned char kUvcInterface = 0;
constexpr int kUvcOpenAttempts = 5;
constexpr unsigned long kOpenRetrySeconds = 1;
constexpr unsigned kFirmwareType = 4;

constexpr unsigned long kRebootSettleSeconds = 1;
constexpr int kRebootTests = 152;
constexpr unsigned long kRebootPollMs = 100;

constexpr unsigned kWatchTimeoutMs = 500;
constexpr unsigned long kWatchIntervalSeconds = 1;
constexpr int kToleratedTimeouts = 6;
constexpr unsigned long kDisconnectSettleMs = 300;

}  // namespace

CCameraFwLoader::CCameraFwLoader(ICameraSubject* camera, Callback callback, void* context)
    : pThread(false, -1),
      m_pid(CAM_BOOT_PRODUCT_ID),
      m_vid(CAM_VENDOR_ID),
      m_interface(kPcsyncInterface),
      m_camera(camera),
      m_callback_context(context),
      m_callback(callback)
{
}

CCameraFwLoader::~CCameraFwLoader()
{
    Stop();
}

void CCameraFwLoader::SetDevice(_KelDevHandle* device)
{
    const MutexGuard guard(m_device_lock);
    m_device = device;
}

void CCameraFwLoader::CloseDevice()
{
    const MutexGuard guard(m_device_lock);
    CloseKelDevice(m_device);
    m_device = nullptr;
}

void CCameraFwLoader::Report(unsigned status)
{
    if (m_callback != nullptr)
        m_callback(status, m_callback_context);
}

void CCameraFwLoader::Run()
{
    CAM_LOG_AS(kRun, kLogDebugging, "CCameraFwLoader::Run()\r\n");
    CAM_LOG_AS(kRun, kLogDebugging,
               "CCameraFwLoader::Run() Open device VID=0x%X, PID=0x%X, Interface=%d \r\n", m_vid,
               m_pid, m_interface);

    std::uint32_t boot_version = kUnknownVersion;
    if (!BringUp(boot_version) || !OpenCamera())
        return;
    ReportVersion();

    char boot_path[sizeof boot_path_name + 1] = {};
    std::snprintf(boot_path, sizeof boot_path, "%.*s", static_cast<int>(sizeof boot_path_name),
                  boot_path_name);
    CAM_LOG_AS(kRun, kLogDebugging, "Boot code file is [%s]\n", boot_path);
    UpdateBootCode(OwnDevice(), boot_path, boot_version);

    if (m_callback != nullptr) {
        CAM_LOG_AS(kRun, kLogDebugging,
                   "Camera firmware ready. change status to CAMERA_STATUS_OK.\r\n");
        Report(kFirmwareReady);
    }

    WatchDevice();
    CAM_LOG_AS(kRun, kLogDebugging, "Exit device mointer trhead.\r\n");
    CloseDevice();
}

/// False when there is no firmware that runs or could be made to run; reported.
bool CCameraFwLoader::BringUp(std::uint32_t& boot_version)
{
    bool use_pcsync = true;
    if (OpenBootLoader(use_pcsync))
        return DownloadFirmware(use_pcsync, boot_version);
    if (!CheckDeviceExist(CAM_VENDOR_ID, CAM_PRODUCT_ID)) {
        CAM_LOG_AS(kRun, kLogFatal, "CCameraFwLoader: Libusb failed to open KEL device.\r\n");
        Report(kNoDevice);
        return false;
    }
    CAM_LOG_AS(kRun, kLogDebugging,
               "!!!!!!!!!!!! CCameraFwLoader:: Found a device with CAMERA vid/pid. "
               "!!!!!!!!!!!!!\r\n");
    return true;
}

/// Waits for the firmware to come up. False when it does not; reported.
bool CCameraFwLoader::OpenCamera()
{
    if (!WaitForReboot())
        return false;
    SetDevice(OpenKelDevice(CAM_VENDOR_ID, CAM_PRODUCT_ID, kNoInterface));
    if (OwnDevice() != nullptr)
        return true;
    Report(kNoDevice);
    CAM_LOG_AS(kRun, kLogFatal, "CCameraFwLoader: Failed to open camera device. exit \r\n");
    return false;
}

/// The newer boot loader has a vendor interface for the download; the older one
/// takes a while to come up and offers only its UVC function.
bool CCameraFwLoader::OpenBootLoader(bool& use_pcsync)
{
    use_pcsync = true;
    SetDevice(OpenKelDevice(m_vid, m_pid, m_interface));
    for (int attempt = 0; OwnDevice() == nullptr && attempt < kUvcOpenAttempts; ++attempt) {
        SleepSeconds(kOpenRetrySeconds);
        SetDevice(OpenKelDevice(m_vid, m_pid, kUvcInterface));
        if (OwnDevice() != nullptr) {
            CAM_LOG_AS(kRun, kLogDebugging, "Current boot code is using UVC interface.\r\n");
            use_pcsync = false;
        }
    }
    CAM_LOG_AS(kRun, kLogDebugging, "Exit OpenKelDevice. \r\n");
    return OwnDevice() != nullptr;
}

bool CCameraFwLoader::DownloadFirmware(bool use_pcsync, std::uint32_t& boot_version)
{
    unsigned char version[6] = {};
    if (KelXU_GetFWVersion(OwnDevice(), version) == 0) {
        boot_version = static_cast<std::uint32_t>(version[2]) << 24 |
                       static_cast<std::uint32_t>(version[3]) << 16 |
                       static_cast<std::uint32_t>(version[4]) << 8 | version[5];
        CAM_LOG_AS(kRun, kLogFatal, "BootCode version is 0x%X\r\n", boot_version);
    } else {
        boot_version = kUnknownVersion;
    }

    CAM_LOG_AS(kRun, kLogDebugging, "use_pcsync is %d\n", use_pcsync);
    char firmware_path[sizeof fw_path_name + 1] = {};
    std::snprintf(firmware_path, sizeof firmware_path, "%.*s",
                  static_cast<int>(sizeof fw_path_name), fw_path_name);
    CAM_LOG_AS(kRun, kLogDebugging, "FW file is [%s]\n", firmware_path);

    int result;
    if (use_pcsync) {
        CAM_LOG_AS(kRun, kLogDebugging, "Enter UpdateFirmwarePcsyncPath. \r\n");
        result = UpdateFirmwarePcsyncPath(OwnDevice(), firmware_path, kFirmwareType);
    } else {
        CAM_LOG_AS(kRun, kLogDebugging, "Enter UpdateFirmwareUvcPath. \r\n");
        result = UpdateFirmwareUvcPath(OwnDevice(), firmware_path, kFirmwareType);
    }
    if (result != 0) {
        Report(kFirmwareFailure);
        CAM_LOG_AS(kRun, kLogFatal, "CCameraFwLoader :Failed to load firmware, exit. \r\n");
        CloseDevice();
        return false;
    }
    // The same text whichever path was taken.
    CAM_LOG_AS(kRun, kLogDebugging, "Exit UpdateFirmwareUvcPath. \r\n");
    CloseDevice();
    return true;
}

bool CCameraFwLoader::WaitForReboot()
{
    SleepSeconds(kRebootSettleSeconds);
    for (int failed = 0; !CheckDeviceExist(CAM_VENDOR_ID, CAM_PRODUCT_ID);) {
        SleepMilliseconds(kRebootPollMs);
        if (++failed == kRebootTests) {
            Report(kFirmwareFailure);
            CAM_LOG_AS(kRun, kLogFatal, "Camera reboot failed. \r\n");
            return false;
        }
    }
    return true;
}

void CCameraFwLoader::ReportVersion()
{
    unsigned char version[6] = {};
    KelXU_GetFWVersion(OwnDevice(), version);
    WriteVersionReport(version);
}

void CCameraFwLoader::WatchDevice()
{
    // Never reset: a device that times out now and then is on its way out.
    int failures = 0;
    while (!StopRequested()) {
        unsigned char answer[8] = {};
        const int result = KelIspCmdGetResult(OwnDevice(), answer, kWatchTimeoutMs);
        CAM_LOG_AS(kRun, kLogInfo, "CCameraFwLoader ****** : KEL Camera Checking hr=%d\r\n",
                   result);
        if (result == 0) {
            SleepSeconds(kWatchIntervalSeconds);
            continue;
        }
        if (++failures <= kToleratedTimeouts && result == LIBUSB_ERROR_TIMEOUT)
            continue;
        if (result == LIBUSB_ERROR_NO_DEVICE)
            NoteDeviceLoss();
        OnDisconnected(result);
        return;
    }
}

void CCameraFwLoader::OnDisconnected(int result)
{
    CAM_LOG_AS(kRun, kLogFatal,
               "!!!  KEL Camera Checking :: Camera is disconnected. , hr=%d !!!\r\n", result);
    if (OwnDevice() != nullptr) {
        CAM_LOG_AS(kRun, kLogDebugging, "CloseKelDevice +\r\n");
        CloseDevice();
        CAM_LOG_AS(kRun, kLogDebugging, "CloseKelDevice -\r\n");
    }
    SleepMilliseconds(kDisconnectSettleMs);
    // The transports are released before the camera object learns its new state.
    if (m_camera != nullptr)
        m_camera->StopRecording();
    Report(kNoDevice);
}

int CCameraFwLoader::GetCamVersion()
{
    const VersionQueryScope query;
    const MutexGuard guard(m_device_lock);
    unsigned char version[6] = {};
    if (KelXU_GetFWVersion(query.MayAsk() ? m_device : nullptr, version) != 0) {
        CAM_LOG(kLogFatal, "Get Firmware Version error\r\n");
        return 0;
    }
    m_camera_version = static_cast<std::uint32_t>(version[1]) << 16 |
                       static_cast<std::uint32_t>(version[3]) << 8 | version[5];
    if (m_camera_version == 0) {
        CAM_LOG(kLogFatal, "Camera Versins is 0\r\n");
        return 0;
    }
    return 1;
}
