// Reading properties.
#ifndef TORVIK_CONTROL_PROPERTY_QUERY_H
#define TORVIK_CONTROL_PROPERTY_QUERY_H

#include "api/camera_property.h"
#include "control/control_context.h"

/// Answers ICameraSubject::GetProperty. The caller holds m_video_ctrl_lock.
bool QueryProperty(const ControlContext& context, CAM_PROPERTY property, CAM_PROP_VALUE& value);

/// One reader per readable property, for the property table.
namespace property_query {

bool ReadBitrate(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadFramerate(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadResolution(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadMicVolume(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadAudioRate(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadZoom(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadPan(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadTilt(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadIspStatus(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadDebugLevel(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadUserFlag(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadVideoAutoTest(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadAudioAutoTest(const ControlContext& context, CAM_PROP_VALUE& value);
bool ReadConnectionCheck(const ControlContext& context, CAM_PROP_VALUE& value);

}  // namespace property_query

#endif
