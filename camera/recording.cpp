// Start and stop of recording.

#include <new>

#include "camera/camera.h"
#include "camera/stream_combinations.h"
#include "camera/tv_platforms.h"
#include "control/send_frame.h"
#include "runtime/debug_log.h"
#include "runtime/process_locks.h"
#include "runtime/sleep.h"
#include "usb/usb_identity.h"

namespace {

constexpr char kStart[] = "StartRecording";  // its steps log under its name
constexpr unsigned kStreamFormat = 0;
constexpr unsigned kStreamFps = 30;
constexpr std::uint32_t kBitsPerKilobit = 1000;
constexpr unsigned char kMainTarget = 0;
constexpr unsigned char kSubTarget = 1;
constexpr unsigned kSubBitrate = 800;  // kbit/s
constexpr unsigned long kAudioSettleMs = 10;

}  // namespace

bool CKelVeskCamera::StartRecording()
{
    const MutexPairGuard guard(m_start_stop_preview_lock, m_video_ctrl_lock);
    if (m_State != CAM_STATE_CONNECTED) {
        // Also when the camera is gone: hosts start again without asking.
        CAM_LOG(kLogFatal, "StartRecording twice\r\n");
        return true;
    }
    CAM_LOG(kLogDebugging, "CKelVeskCamera::StartRecording\r\n");
    CAM_LOG(kLogFatal,
            "CKelVeskCamera::StartRecording open device VID=0x%X, PID=0x%X W=%d H=%d\r\n",
            CAM_VENDOR_ID, CAM_PRODUCT_ID, m_settings.width, m_settings.height);
    KelUvcCapture* const video = video_capturer;
    if (video == nullptr || m_State == CAM_STATE_DISCONNECTED) {
        CAM_LOG(kLogFatal, "CKelVeskCamera::StartRecording, Can't open video break\r\n");
        return false;
    }

    m_settings.video_option_flag = 0;
    if (m_settings.use_signal_type == 0)
        ConfigureVideoMode();
    else if (m_settings.use_signal_type == 1)
        ConfigureSignalType();
    if (!StartVideo(*video))
        return false;
    if (audio_capture_thread == nullptr && m_settings.video_option_flag != 0 && !StartAudio())
        return false;
    CAudioCapture* const audio = audio_capturer;
    if (audio != nullptr)
        audio->SetVolume(static_cast<int>(m_settings.mic_volume));

    EnterRecording();
    TurnOnOffLED(1);
    return true;
}

/// The main stream and, on televisions that have it, the sub stream.
bool CKelVeskCamera::StartVideo(KelUvcCapture& video)
{
    SelectStreamTarget(kMainTarget);
    // A start that failed half-way leaves its thread, which reads from the ring
    // that the configuration replaces.
    StopVideoThread();
    if (!video.ConfigureDev(m_settings.width, m_settings.height, kStreamFormat, kStreamFps)) {
        CAM_LOG_AS(kStart, kLogFatal, "Failed to config device. W=%d,H=%d,Fmt=%d,Fps=%d\r\n",
                   m_settings.width, m_settings.height, static_cast<int>(kStreamFormat),
                   static_cast<int>(kStreamFps));
        return false;
    }
    video.SetBitrate(m_settings.bitrate / kBitsPerKilobit);
    video.SetFramerate(m_settings.frame_rate);
    if (TvPlatformOf(m_settings.tv_platform).has_sub_stream)
        ConfigureSubStream();

    video_capture_thread = new (std::nothrow) CVideoCaptureThread(
        this, &video, m_settings.tv_platform, m_settings.video_option_flag != 0);
    if (video_capture_thread == nullptr)
        return false;
    video_capture_thread->Start(nullptr);
    return true;
}

/// A camera that was reported lost meanwhile stays so.
void CKelVeskCamera::EnterRecording()
{
    CAM_STATE state = m_State;
    while (state != CAM_STATE_DISCONNECTED &&
           !m_State.compare_exchange_weak(state, CAM_STATE_RECORDING)) {
    }
}

void CKelVeskCamera::ConfigureVideoMode()
{
    const VideoModeRow* const mode = FindVideoMode(m_settings.video_mode);
    if (mode == nullptr) {
        CAM_LOG_AS(kStart, kLogDebugging, "Unknown Video Mode\r\n");
    } else {
        CAM_LOG_AS(kStart, kLogDebugging, "%s", mode->log_line);
        if (mode->second_log_line != nullptr)
            CAM_LOG_AS(kStart, kLogDebugging, "%s", mode->second_log_line);
        SendSignalType(mode->signal_code);
        const TvPlatform& platform = TvPlatformOf(m_settings.tv_platform);
        m_settings.video_option_flag = !(platform.*mode->silent).Holds(m_settings.bitrate);
    }
    ChooseVideoOption();
}

void CKelVeskCamera::ChooseVideoOption()
{
    constexpr std::uint32_t kPlain = 0x01;
    constexpr std::uint32_t kWithAudio = 0x30;
    std::uint32_t last = 0;
    GetVideoOption(&last);
    const std::uint32_t current = m_settings.video_option_flag != 0
                                      ? (last & ~kPlain) | kWithAudio
                                      : (last & ~kWithAudio) | kPlain;
    CAM_LOG_AS(kStart, kLogDebugging, "last_options = %X, cur_options = %X\r\n", last, current);
    // The controller is left alone when the words have any bit in common.
    if ((current & last) == 0)
        SetVideoOption(current);
}

void CKelVeskCamera::ConfigureSignalType()
{
    const SignalTypeRow* const type = FindSignalType(m_settings.signal_type);
    CAM_LOG_AS(kStart, kLogDebugging, "%s",
               type != nullptr ? type->log_line : "Unknown Signal Type\r\n");
    if (m_settings.signal_type == CAM_SIGNAL_H264_H264_GRAY)
        m_settings.video_option_flag = 1;
    SendSignalType(type != nullptr ? static_cast<unsigned char>(type->type) : 0);
}

void CKelVeskCamera::SendSignalType(unsigned char code)
{
    SendFrame(*video_capturer.load(), kXuMmpCommand, MmpSignalType(code));
}

void CKelVeskCamera::SelectStreamTarget(unsigned char stream)
{
    CAM_LOG_AS(kStart, kLogDebugging, "Set stream target(ID)=%d\r\n", stream);
    if (SendFrame(*video_capturer.load(), kXuMmpCommand, MmpStreamTarget(stream)) < 0)
        CAM_LOG_AS(kStart, kLogFatal, "Failed to set video mode.\r\n");
}

void CKelVeskCamera::ConfigureSubStream()
{
    KelUvcCapture* const video = video_capturer;
    SelectStreamTarget(kSubTarget);
    video->SetBitrate(kSubBitrate);
    video->SetFramerate(TvPlatformOf(m_settings.tv_platform).sub_frame_rate);
    // Later commands mean the main stream again.
    SelectStreamTarget(kMainTarget);
}

bool CKelVeskCamera::StartAudio()
{
    CAM_LOG_AS(kStart, kLogDebugging,
               "*********** Start Audio Capture Thread*************\r\n");
    CAudioCapture* const audio = audio_capturer;
    if (audio == nullptr) {
        CAM_LOG_AS(kStart, kLogDebugging,
                   "CKelVeskCamera::StartRecording, Can't open video device , break\r\n");
        return false;
    }
    if (m_State == CAM_STATE_DISCONNECTED)
        return true;
    if (!audio->ConfigureDev(kCamAudioChannels, m_settings.audio_rate, 0)) {
        CAM_LOG_AS(kStart, kLogDebugging, "Failed to open audio streaming.\r\n");
        return false;
    }
    if (!StartAudioThread(audio))
        return false;
    CAM_LOG_AS(kStart, kLogDebugging,
               "*********** Audio Capture Thread Init finish.\r\n*************\r\n");
    return true;
}

bool CKelVeskCamera::StartAudioThread(CAudioCapture* audio)
{
    audio_capture_thread = new (std::nothrow) CAudioCaptureThread(this, audio);
    if (audio_capture_thread == nullptr)
        return false;
    audio_capture_thread->Start(nullptr);
    return true;
}

/// Stops whoever reads from the audio adapter, whose ring is about to go.
void CKelVeskCamera::StopAudioThread()
{
    if (audio_capture_thread == nullptr)
        return;
    audio_capture_thread->Stop();
    delete audio_capture_thread;
    audio_capture_thread = nullptr;
}

void CKelVeskCamera::StopVideoThread()
{
    if (video_capture_thread == nullptr)
        return;
    video_capture_thread->Stop();
    delete video_capture_thread;
    video_capture_thread = nullptr;
}

bool CKelVeskCamera::StopRecording()
{
    // The stop would wait for the very thread that delivers the frame.
    if (IsDelivering())
        return false;
    const MutexPairGuard guard(m_start_stop_preview_lock, m_video_ctrl_lock);
    CAM_LOG(kLogFatal, "CKelVeskCamera::StopRecording\r\n");
    TurnOnOffLED(0);

    CAudioCapture* const audio = audio_capturer;
    if (audio != nullptr) {
        if (audio_capture_thread != nullptr) {
            CAM_LOG(kLogDebugging, "CKelVeskCamera:: stop audio capture thread\r\n");
            StopAudioThread();
        }
        audio->UnConfigureDev();
    }
    SleepMilliseconds(kAudioSettleMs);

    KelUvcCapture* const video = video_capturer;
    if (video == nullptr || m_State == CAM_STATE_DISCONNECTED) {
        CAM_LOG(kLogFatal,
                "video_capturer is NULL or m_State is CAM_STATE_DISCONNECTED !!!\r\n");
        return false;
    }
    if (video_capture_thread != nullptr) {
        CAM_LOG(kLogDebugging, "CKelVeskCamera:: stop video capture thread \r\n");
        StopVideoThread();
    }
    SendTerminateFrame();
    video->UnConfigureDev();
    CAM_STATE recording = CAM_STATE_RECORDING;
    if (!m_State.compare_exchange_strong(recording, CAM_STATE_CONNECTED)) {
        CAM_LOG(kLogFatal, "Abnormal StopRecording.\r\n");
        return false;
    }
    return true;
}
