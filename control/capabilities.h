// What the camera can do.
#ifndef TORVIK_CONTROL_CAPABILITIES_H
#define TORVIK_CONTROL_CAPABILITIES_H

#include "api/camera_property.h"
#include "control/camera_settings.h"

/// Answers ICameraSubject::GetCapability. The caller holds m_video_ctrl_lock.
/// Asking for the signal-type capability switches a platform that has it to
/// signal-type configuration.
bool AnswerCapability(CameraSettings& settings, CAM_CAPABILITY capability)
    REQUIRES(m_video_ctrl_lock);

#endif
