// The camera object.
#ifndef TORVIK_CAMERA_CAMERA_H
#define TORVIK_CAMERA_CAMERA_H

#include <atomic>
#include <cstdint>
#include <pthread.h>
#include <vector>

#include "api/camera_subject.h"
#include "audio/audio_capture_thread.h"
#include "control/audio_capture_adapter.h"
#include "control/camera_settings.h"
#include "control/control_context.h"
#include "control/indicator_led.h"
#include "control/video_capture_adapter.h"
#include "control/video_options.h"
#include "firmware/loader_slot.h"
#include "runtime/process_locks.h"
#include "video/video_capture_thread.h"

/// The one camera of the process. It owns its adapters, capture threads and
/// loader; the host owns the observers.
class CKelVeskCamera : public ICameraSubject
{
public:
    CKelVeskCamera();
    ~CKelVeskCamera() override;

    void Init(void (*callback)(bool), int argument) override;
    CAM_STATE GetState() override;
    void SetState(CAM_STATE state) override;
    bool RegisterObserver(ICameraObserver* observer) override;
    bool RemoveObserver(ICameraObserver* observer) override;
    int OnFrameArrival(const CCameraData* data) override;
    bool StartRecording() override;
    bool StopRecording() override;
    bool SetProperty(CAM_PROPERTY property, CAM_PROP_VALUE* value) override;
    bool GetProperty(CAM_PROPERTY property, CAM_PROP_VALUE* value) override;
    bool GetCapability(CAM_CAPABILITY capability) override;
    bool SetStreamFormat(CAM_STR_FORMAT format) override;
    const std::string& GetVendorName() override;
    const std::string& GetModelName() override;
    bool Execute(int argc, const char** argv) override;
    bool StartTest() override;
    bool StopTest() override;
    bool PrintStatus() override;

    /// Tells observers of raw images that their stream has ended. Always true.
    bool SendTerminateFrame();

    /// The controller's video options and its LED, see control/video_options.h
    /// and control/indicator_led.h. They take no lock.
    int SetVideoOption(unsigned int options) { return ::SetVideoOption(Control(), options); }
    int GetVideoOption(unsigned int* options) { return ::GetVideoOption(Control(), options); }
    bool TurnOnOffLED(unsigned char on) { return ::TurnOnOffLED(Control(), on); }

    /// Outcome of the firmware loader, on its thread: once when the camera is
    /// ready or failed, and with a non-zero status when it disappears later.
    static void CamInitDoneCallback(unsigned int status, void* camera);

private:
    void OnFirmwareReady();
    bool OpenAdapters() EXCLUDES(m_observer_lock, m_audio_observer_lock);
    void ApplyMainsFrequency();
    void CallHost(bool ready);
    void ReportUnstartedSearch();
    ControlContext Control();

    bool StartVideo(KelUvcCapture& video) REQUIRES(m_start_stop_preview_lock, m_video_ctrl_lock);
    void EnterRecording();
    void ConfigureVideoMode() REQUIRES(m_video_ctrl_lock);
    void ConfigureSignalType() REQUIRES(m_video_ctrl_lock);
    void ChooseVideoOption() REQUIRES(m_video_ctrl_lock);
    void SendSignalType(unsigned char code);
    void SelectStreamTarget(unsigned char stream);
    void ConfigureSubStream();
    // Not under the lock of the observers that the thread may be inside.
    void StopVideoThread() REQUIRES(m_start_stop_preview_lock, m_video_ctrl_lock)
        EXCLUDES(m_observer_lock);
    void StopAudioThread() REQUIRES(m_start_stop_preview_lock, m_video_ctrl_lock)
        EXCLUDES(m_audio_observer_lock);
    bool StartAudio() REQUIRES(m_start_stop_preview_lock, m_video_ctrl_lock);
    bool StartAudioThread(CAudioCapture* audio)
        REQUIRES(m_start_stop_preview_lock, m_video_ctrl_lock);

    bool IsDelivering() const;
    void StampCrop(CCameraData& data) REQUIRES(m_observer_lock);
    /// The one way to the lists of the base class, whose header shows hosts no
    /// locks.
    std::vector<ICameraObserver*>& ObserversOf(CAM_STREAM type) REQUIRES(m_observer_lock)
    {
        return m_observers[type];
    }

    // Atomic.
    /// Created by the loader thread when the camera is ready and kept until the
    /// end, so whoever sees one may use it.
    std::atomic<KelUvcCapture*> video_capturer{nullptr};
    std::atomic<CAudioCapture*> audio_capturer{nullptr};
    CVideoCaptureThread* video_capture_thread GUARDED_BY(m_start_stop_preview_lock)
        GUARDED_BY(m_video_ctrl_lock) = nullptr;
    CAudioCaptureThread* audio_capture_thread GUARDED_BY(m_start_stop_preview_lock)
        GUARDED_BY(m_video_ctrl_lock) = nullptr;
    FirmwareLoaderSlot fw_loader;  ///< has a lock of its own
    std::atomic<void (*)(bool)> init_done_callback{nullptr};
    CameraSettings m_settings;  ///< each of its members says what guards it

    /// Last crop flag stamped; the first image always differs.
    std::uint16_t m_crop_flag GUARDED_BY(m_observer_lock) = 0xFFFF;
    std::uint16_t m_crop_x GUARDED_BY(m_observer_lock) = 0;
    std::uint16_t m_crop_y GUARDED_BY(m_observer_lock) = 0;
    std::vector<ICameraObserver*> m_audio_observers GUARDED_BY(m_audio_observer_lock);
    // Atomic.
    /// The threads that are inside observers of either lock, or 0. Written under
    /// that lock.
    std::atomic<pthread_t> m_video_deliverer{};
    std::atomic<pthread_t> m_audio_deliverer{};
    /// The thread whose Init calls back because it could start no search, or 0.
    std::atomic<pthread_t> m_reporting_init{};
    /// Published for tools that look into the process; see g_pData.
    unsigned char m_scratch[16] = {};
};

/// The camera object, and its scratch area. The library itself never reads
/// them back.
extern CKelVeskCamera* g_pCamera;
extern unsigned char* g_pData;

#endif
