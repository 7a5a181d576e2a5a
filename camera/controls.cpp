// Properties, capabilities and diagnostics: the camera object's side of them.

#include "camera/camera.h"
#include "camera/debug_level.h"
#include "control/capabilities.h"
#include "control/property_query.h"
#include "control/property_setting.h"
#include "runtime/debug_log.h"
#include "runtime/process_locks.h"

ControlContext CKelVeskCamera::Control()
{
    return {m_settings, *this, m_State, video_capturer, audio_capturer, fw_loader, SetDebugLevel};
}

bool CKelVeskCamera::GetCapability(CAM_CAPABILITY capability)
{
    const MutexGuard guard(m_video_ctrl_lock);
    return AnswerCapability(m_settings, capability);
}

bool CKelVeskCamera::GetProperty(CAM_PROPERTY property, CAM_PROP_VALUE* value)
{
    if (value == nullptr)
        return false;
    const MutexGuard guard(m_video_ctrl_lock);
    return QueryProperty(Control(), property, *value);
}

bool CKelVeskCamera::SetProperty(CAM_PROPERTY property, CAM_PROP_VALUE* value)
{
    if (value == nullptr)
        return false;
    const MutexGuard guard(m_video_ctrl_lock);
    return ApplyProperty(Control(), property, *value);
}

bool CKelVeskCamera::Execute(int, const char**)
{
    return false;
}

bool CKelVeskCamera::StartTest()
{
    CAM_LOG(kLogDebugging, "CKelVeskCamera::StartTest() Not support now.\r\n");
    return true;
}

bool CKelVeskCamera::StopTest()
{
    CAM_LOG(kLogDebugging, "CKelVeskCamera::StopTest() Not support now.\r\n");
    return true;
}

bool CKelVeskCamera::PrintStatus()
{
    CAM_LOG(kLogDebugging, "CKelVeskCamera::PrintStatus() Not support now.\r\n");
    return true;
}
