// Construction, initialisation and destruction of the camera object.

#include <cstdio>
#include <cstdlib>
#include <new>

#include "camera/camera.h"
#include "camera/debug_level.h"
#include "camera/shell.h"
#include "camera/tv_platform.h"
#include "control/mains_frequency.h"
#include "runtime/debug_log.h"
#include "runtime/process_locks.h"
#include "runtime/sleep.h"
#include "usb/usb_identity.h"

CKelVeskCamera* g_pCamera = nullptr;
unsigned char* g_pData = nullptr;

namespace {

constexpr char kVendorName[] = "MERIDOX";
constexpr char kModelName[] = "TORVIK";
constexpr char kMainsFrequencyPath[] = "/dtv/cm_frequency";
constexpr unsigned long kReenumerationSeconds = 1;

}  // namespace

CKelVeskCamera::CKelVeskCamera()
{
    LoadDebugLevel();
    CAM_LOG(kLogFatal, "CKelVeskCamera::CKelVeskCamera() construction.\r\n");
    m_vendor_name = kVendorName;
    m_model_name = kModelName;
    DetectTvPlatform(m_settings);
    g_pCamera = this;
    g_pData = m_scratch;
    CAM_LOG(kLogFatal, "exit CKelVeskCamera construction.\r\n");
}

CKelVeskCamera::~CKelVeskCamera()
{
    CAM_LOG(kLogDebugging, "CKelVeskCamera::~CKelVeskCamera() destruction+.\r\n");
    g_pCamera = nullptr;
    fw_loader.StopAndDelete();
    if (video_capturer != nullptr || audio_capturer != nullptr) {
        CKelVeskCamera::StopRecording();
        // A camera that is marked disconnected while it records leaves the
        // thread, which must not outlive its adapter.
        StopVideoThread();
        delete video_capturer.exchange(nullptr);
        delete audio_capturer.exchange(nullptr);
    }
    ExecuteShell("rm -rf /dtv/cm_cam_version");
    CAM_LOG(kLogFatal, "CKelVeskCamera::~CKelVeskCamera() destruction-.\r\n");
}

void CKelVeskCamera::Init(void (*callback)(bool), int argument)
{
    CAM_LOG(kLogDebugging, "CKelVeskCamera::Init 0x%X, 0x%X \r\n",
            static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(callback)),
            static_cast<unsigned>(argument));
    if (m_State == CAM_STATE_CONNECTED) {
        CAM_LOG(kLogFatal, "Already Initialization started.. \n");
        return;
    }
    init_done_callback = callback;
    if (!fw_loader.Restart(this, CamInitDoneCallback, this))
        ReportUnstartedSearch();
}

/// A search that the system has no memory or no thread for has failed.
void CKelVeskCamera::ReportUnstartedSearch()
{
    // A call-back that tries again at once would come back here for ever.
    if (pthread_equal(m_reporting_init, pthread_self()) != 0)
        return;
    m_reporting_init = pthread_self();
    CamInitDoneCallback(kNoDevice, this);
    m_reporting_init = pthread_t();
}

void CKelVeskCamera::CallHost(bool ready)
{
    const auto callback = init_done_callback.load();
    if (callback != nullptr)
        callback(ready);
}

void CKelVeskCamera::CamInitDoneCallback(unsigned int status, void* camera)
{
    auto* const self = static_cast<CKelVeskCamera*>(camera);
    if (status != kFirmwareReady) {
        self->m_State = CAM_STATE_DISCONNECTED;
        self->CallHost(false);
        return;
    }
    self->OnFirmwareReady();
}

void CKelVeskCamera::OnFirmwareReady()
{
    static constexpr char kFunction[] = "CamInitDoneCallback";
    CAM_LOG_AS(kFunction, kLogDebugging, "Create Video, Audio capture class.\r\n");
    // The device may still be re-enumerating after a firmware update.
    SleepSeconds(kReenumerationSeconds);

    const bool ready = OpenAdapters();
    CallHost(ready);
    ApplyMainsFrequency();
}

/// True when both devices are there. Recording may be running, or be started
/// or stopped by the host at this moment.
bool CKelVeskCamera::OpenAdapters()
{
    static constexpr char kFunction[] = "CamInitDoneCallback";
    const MutexPairGuard guard(m_start_stop_preview_lock, m_video_ctrl_lock);
    if (video_capturer == nullptr)
        video_capturer = new (std::nothrow) KelUvcCapture(CAM_VENDOR_ID, CAM_PRODUCT_ID);
    if (audio_capturer == nullptr)
        audio_capturer = new (std::nothrow) CAudioCapture(CAM_VENDOR_ID, CAM_PRODUCT_ID);
    KelUvcCapture* const video = video_capturer;
    CAudioCapture* const audio = audio_capturer;

    // A recording goes on with the reopened audio stream.
    const bool audio_was_read = audio_capture_thread != nullptr;
    StopAudioThread();
    if (audio != nullptr && audio->ConfigureDev(kCamAudioChannels, kCamAudioRate, 0)) {
        CAM_LOG_AS(kFunction, kLogDebugging, "Succeeded to open audio streaming.\r\n");
        if (audio_was_read)
            StartAudioThread(audio);
    } else {
        CAM_LOG_AS(kFunction, kLogDebugging, "Failed to open audio streaming.\r\n");
    }

    const bool ready = video != nullptr && audio != nullptr && video->DeviceExists() && audio->DeviceExists();
    m_State = ready ? CAM_STATE_CONNECTED : CAM_STATE_DISCONNECTED;
    return ready;
}

void CKelVeskCamera::ApplyMainsFrequency()
{
    static constexpr char kFunction[] = "CamInitDoneCallback";
    CAM_LOG_AS(kFunction, kLogDebugging, "Anti Flicker path %s ...\r\n", kMainsFrequencyPath);
    std::FILE* const file = std::fopen(kMainsFrequencyPath, "r");
    if (file == nullptr) {
        CAM_LOG_AS(kFunction, kLogFatal, "Can't open file. %s!!!\r\n", kMainsFrequencyPath);
        return;
    }
    char line[8] = {};
    if (std::fgets(line, sizeof line, file) != nullptr) {
        const auto value = static_cast<unsigned char>(std::strtol(line, nullptr, 10));
        const MainsFrequency* const frequency = FindMainsFrequency(value);
        if (frequency != nullptr) {
            CAM_LOG_AS(kFunction, kLogDebugging, "cam frequency is %s", frequency->text);
            KelUvcCapture* const video = video_capturer;
            if (video != nullptr)
                video->SetPU(kPowerLineFrequencyControl, frequency->control_value);
        }
    }
    std::fclose(file);
}

CAM_STATE CKelVeskCamera::GetState()
{
    const CAM_STATE state = m_State;
    CAM_LOG(kLogDebugging, "Get status=%d\r\n", static_cast<int>(state));
    return state;
}

void CKelVeskCamera::SetState(CAM_STATE state)
{
    m_State = state;
}

const std::string& CKelVeskCamera::GetVendorName()
{
    return m_vendor_name;
}

const std::string& CKelVeskCamera::GetModelName()
{
    return m_model_name;
}

bool CKelVeskCamera::SetStreamFormat(CAM_STR_FORMAT format)
{
    CAM_LOG(kLogDebugging, "CKelVeskCamera::SetStreamFormat format=0x%X\r\n",
            static_cast<unsigned>(format));
    if (format == CAM_STR_FORMAT_TS)
        CAM_LOG(kLogDebugging, "CKelVeskCamera not support TS format.\r\n");
    else
        CAM_LOG(kLogDebugging, "CKelVeskCamera Video Format= H264\r\n");
    m_settings.stream_format = format;
    return true;
}
