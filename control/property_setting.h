// Setting properties.
#ifndef TORVIK_CONTROL_PROPERTY_SETTING_H
#define TORVIK_CONTROL_PROPERTY_SETTING_H

#include "control/property_table.h"

/// Answers ICameraSubject::SetProperty. The caller holds m_video_ctrl_lock,
/// which must be recursive: a restart of recording takes it again.
bool ApplyProperty(const ControlContext& context, CAM_PROPERTY property,
                   const CAM_PROP_VALUE& value);

/// The steps of each property, for the property table.
namespace property_setting {

Verdict GoOn(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict AcceptOnly(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict RecordOnly(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareBitrate(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareFramerate(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareForceI(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareResolution(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareMicVolume(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareAudioRate(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareZoom(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PreparePan(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareTilt(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareSignalType(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareCropVga(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareCropGray(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareTriggerJpeg(const ControlContext& context, unsigned id,
                           const CAM_PROP_VALUE& value);
Verdict PrepareVideoMode(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareDebugLevel(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
Verdict PrepareUserFlag(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);

bool ApplyBitrate(const ControlContext& context, const CAM_PROP_VALUE& value);
bool ApplyFramerate(const ControlContext& context, const CAM_PROP_VALUE& value);
bool ApplyForceI(const ControlContext& context, const CAM_PROP_VALUE& value);
bool ApplyMicVolume(const ControlContext& context, const CAM_PROP_VALUE& value);
bool ApplyZoom(const ControlContext& context, const CAM_PROP_VALUE& value);
bool ApplyPan(const ControlContext& context, const CAM_PROP_VALUE& value);
bool ApplyTilt(const ControlContext& context, const CAM_PROP_VALUE& value);
bool ApplyFrequency(const ControlContext& context, const CAM_PROP_VALUE& value);
bool ApplyTriggerJpeg(const ControlContext& context, const CAM_PROP_VALUE& value);
bool ApplyUserFlag(const ControlContext& context, const CAM_PROP_VALUE& value);

}  // namespace property_setting

#endif
