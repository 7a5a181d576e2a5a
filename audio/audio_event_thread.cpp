#include "audio/audio_event_thread.h"

#include "runtime/debug_log.h"

CKEL_AUDIO_LIB::CKEL_AUDIO_LIB() : pThread(false, -1) {}

CKEL_AUDIO_LIB::~CKEL_AUDIO_LIB()
{
    CAM_LOG(kLogDebugging, "CKEL_AUDIO_LIB::~CKEL_AUDIO_LIB()+");
    CAM_LOG(kLogDebugging, "CKEL_AUDIO_LIB::~CKEL_AUDIO_LIB()-");
    // A failed enable leaves the event thread running without a stream.
    pThread::Stop();
    SetEventThreadRunning(false);
}

void CKEL_AUDIO_LIB::Run()
{
    while (!StopRequested())
        handle_libusb_event();
    // The text names the video class in both transports; log readers know it.
    CAM_LOG(kLogDebugging, "CKEL_CAM_LIB::run() Exit libusb thread.\n");
}

int CKEL_AUDIO_LIB::AudioTransferStart()
{
    SetEventThreadRunning(true);
    if (pThread::Start(nullptr) != 0)
        SetEventThreadRunning(false);
    return 0;
}

int CKEL_AUDIO_LIB::AudioTransferStop()
{
    CAM_LOG(kLogDebugging, "AudioTransferStop+\n");
    Stop();
    SetEventThreadRunning(false);
    CAM_LOG(kLogDebugging, "AudioTransferStop-\n");
    return 0;
}

int CKEL_AUDIO_LIB::EnableStream(int rate)
{
    const int result = UAC_EnableAudioStream(rate);
    AudioTransferStart();
    return result;
}

int CKEL_AUDIO_LIB::DisableStream()
{
    if (!IsStreaming())
        return 0;
    CAM_LOG(kLogDebugging, "UAC_DisableAudioStream+\r\n");
    UAC_DisableAudioStream();
    CAM_LOG(kLogDebugging, "UAC_DisableAudioStream-\r\n");
    CAM_LOG(kLogDebugging, "AudioTransferStop+\r\n");
    AudioTransferStop();
    CAM_LOG(kLogDebugging, "AudioTransferStop-\r\n");
    return 0;
}

int CKEL_AUDIO_LIB::SetCurVolume(unsigned v)
{
    const int volume = static_cast<int>(v) + MinVolume();
    return UAC_SetCurVolume(static_cast<short>(volume));
}
