// Reading properties.
#ifndef TORVIK_CONTROL_PROPERTY_QUERY_H
#define TORVIK_CONTROL_PROPERTY_QUERY_H

#include "api/camera_property.h"
#include "control/control_context.h"

/// Answers ICameraSubject::GetProperty. The caller holds m_video_ctrl_lock.
bool QueryProperty(const ControlContext& context, CAM_PROPERTY property, CAM_PROP_VALUE& value)
    REQUIRES(m_video_ctrl_lock);

#endif
