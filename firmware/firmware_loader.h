// The worker that brings the controller up and then watches it.
#ifndef TORVIK_FIRMWARE_FIRMWARE_LOADER_H
#define TORVIK_FIRMWARE_FIRMWARE_LOADER_H

#include <cstdint>

#include "api/cam_export.h"
#include "api/camera_subject.h"
#include "api/device_commands.h"
#include "runtime/mutex.h"
#include "runtime/thread.h"

/// Outcome reported to the callback.
enum : unsigned {
    kFirmwareReady = 0,
    kNoDevice = 1,         ///< absent, cannot be opened, or disappeared
    kFirmwareFailure = 2,  ///< download failed, or the camera did not come back
};

/// Finds the controller in whatever state it is, downloads firmware when only
/// the boot loader runs, reports the outcome once, and then asks the camera
/// once a second whether it is still there; when it is not, stops recording and
/// reports kNoDevice. The callback and StopRecording run on this thread. A stop
/// request is honoured only while watching.
class CAM_API CCameraFwLoader : public pThread
{
public:
    using Callback = void (*)(unsigned status, void* context);

    /// `camera` may be null; `callback` may be null.
    CCameraFwLoader(ICameraSubject* camera, Callback callback, void* context);
    ~CCameraFwLoader() override;

    void Run() override;

    /// Reads the camera's firmware version. 1 when it answered with one, else
    /// 0; so also, with nothing sent, while the library downloads an image into
    /// whichever device. Any thread.
    int GetCamVersion() EXCLUDES(m_device_lock);
    /// Burns the boot code in `path` when it is newer than `deviceVersion`. 0
    /// also when there is no such file or it is not newer; 0x80000003 for a
    /// file that is no boot code, or a failed download. 3 s and more.
    int UpdateBootCode(_KelDevHandle* device, char* path, unsigned long deviceVersion);
    /// True when the factory image is newer than the downloaded one, going by
    /// the two version descriptions on the file system.
    static bool UseDefaultVersion();

protected:
    /// This thread, in its call-back: closes the device, because another loader
    /// is about to look for it.
    void GiveDeviceBack() { CloseDevice(); }

private:
    static constexpr std::uint32_t kUnknownVersion = 0xFFFFFFFF;

    bool BringUp(std::uint32_t& boot_version);
    bool OpenCamera();
    bool OpenBootLoader(bool& use_pcsync);
    bool DownloadFirmware(bool use_pcsync, std::uint32_t& boot_version);
    bool WaitForReboot();
    void ReportVersion();
    void WatchDevice();
    void OnDisconnected(int result);
    void SetDevice(_KelDevHandle* device) EXCLUDES(m_device_lock);
    void CloseDevice() EXCLUDES(m_device_lock);
    void Report(unsigned status) EXCLUDES(m_device_lock);
    /// For this thread, which alone changes it.
    _KelDevHandle* OwnDevice() const NO_THREAD_SAFETY_ANALYSIS { return m_device; }

    // Constant after construction.
    const std::uint16_t m_pid;
    const std::uint16_t m_vid;
    const std::uint8_t m_interface;
    ICameraSubject* const m_camera;
    void* const m_callback_context;
    const Callback m_callback;
    /// Changed only by this thread, under the lock; so this thread reads it
    /// freely, see OwnDevice, and others read it under the lock.
    _KelDevHandle* m_device GUARDED_BY(m_device_lock) = nullptr;
    std::uint32_t m_camera_version GUARDED_BY(m_device_lock) = 0;
    /// Taken after the lock of a version query, see download_scope.h.
    pMutex m_device_lock;
};

#endif
