// Setting properties.
#ifndef TORVIK_CONTROL_PROPERTY_SETTING_H
#define TORVIK_CONTROL_PROPERTY_SETTING_H

#include "api/camera_property.h"
#include "control/control_context.h"

/// Answers ICameraSubject::SetProperty. The caller holds m_video_ctrl_lock,
/// which must be recursive: a restart of recording takes it again.
bool ApplyProperty(const ControlContext& context, CAM_PROPERTY property,
                   const CAM_PROP_VALUE& value) REQUIRES(m_video_ctrl_lock);

#endif
