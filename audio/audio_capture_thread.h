// From PCM chunks to the host's audio observers.
#ifndef TORVIK_AUDIO_AUDIO_CAPTURE_THREAD_H
#define TORVIK_AUDIO_AUDIO_CAPTURE_THREAD_H

#include "api/camera_subject.h"
#include "audio/audio_capture.h"
#include "runtime/thread.h"

/// Turns chunks of any size into PCM frames of 960 bytes, each with a 90 kHz
/// stamp counted from the start of this thread, and hands them to the camera
/// object.
class CAudioCaptureThread : public pThread
{
public:
    /// Neither object is owned.
    CAudioCaptureThread(ICameraSubject* camera, IAudioCapture* capture);
    ~CAudioCaptureThread() override;

    void Run() override;

private:
    IAudioCapture* const m_capture;
    ICameraSubject* const m_camera;
};

#endif
