// What properties, capabilities and video options work on.
#ifndef TORVIK_CONTROL_CONTROL_CONTEXT_H
#define TORVIK_CONTROL_CONTROL_CONTEXT_H

#include "api/camera_subject.h"
#include "audio/audio_capture.h"
#include "control/camera_settings.h"
#include "control/video_capture_adapter.h"
#include "firmware/loader_slot.h"
#include "runtime/debug_log.h"

/// A view of the camera object for the length of one call; the caller holds
/// m_video_ctrl_lock where it says so.
struct ControlContext {
    CameraSettings& settings;
    ICameraSubject& camera;  ///< recording is restarted through its virtual operations
    CAM_STATE state;
    KelUvcCapture* video;  ///< may be null
    IAudioCapture* audio;  ///< may be null
    FirmwareLoaderSlot& firmware;
    bool (*set_debug_level)(int level);

    bool Connected() const { return state != CAM_STATE_DISCONNECTED; }
    bool VideoReachable() const { return video != nullptr && Connected(); }
    bool AudioReachable() const { return audio != nullptr && Connected(); }
    bool Recording() const { return video != nullptr && state == CAM_STATE_RECORDING; }
};

/// The one line that tells of a camera that cannot be reached.
inline void LogUnreachable(const char* function)
{
    CAM_LOG_AS(function, kLogFatal,
               "video_capturer is NULL or m_State is CAM_STATE_DISCONNECTED !!! \r\n");
}

#endif
