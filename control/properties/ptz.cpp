// Standard controls of the camera: pan, tilt and zoom of its terminal, mains
// frequency of its processing unit.

#include "api/device_commands.h"
#include "control/mains_frequency.h"
#include "control/property_rows.h"

namespace {

/// Device units of a number of steps; wraps like the controller's own
/// arithmetic.
int PtzUnits(std::int32_t steps)
{
    return static_cast<int>(static_cast<std::uint32_t>(steps) * kCamPtzUnitsPerStep);
}

int ReadPosition(const ControlContext& context, unsigned control)
{
    int position = 0;
    if (context.VideoReachable())
        context.video->GetPTZ(control, &position);
    return position;
}

bool SendZoom(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    return context.video->SetPTZ(kControlZoomAbsolute, value.value) != 0;
}

bool ReadZoom(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = ReadPosition(context, kControlZoomAbsolute);
    CAM_LOG_AS(kGetProperty, kLogDebugging, "Get ZOOM Step (%d)", value.value);
    return true;
}

bool SendPan(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    return context.video->SetPTZ(kControlPanAbsolute, PtzUnits(value.value)) != 0;
}

bool ReadPan(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = ReadPosition(context, kControlPanAbsolute) / kCamPtzUnitsPerStep;
    CAM_LOG_AS(kGetProperty, kLogDebugging, "Get PAN Step (%d)", value.value);
    return true;
}

bool SendTilt(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    return context.video->SetPTZ(kControlTiltAbsolute, PtzUnits(value.value)) != 0;
}

bool ReadTilt(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = ReadPosition(context, kControlTiltAbsolute) / kCamPtzUnitsPerStep;
    CAM_LOG_AS(kGetProperty, kLogDebugging, "Get TILT Step (%d)", value.value);
    // Hosts have come to read the debug level here; the tilt is in the log.
    value.value = static_cast<std::int32_t>(g_embedded_cam_dbg_level.load());
    return true;
}

bool SendFrequency(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    const MainsFrequency* const frequency = FindMainsFrequency(value.value);
    if (frequency == nullptr)
        return true;
    CAM_LOG_AS(kSetProperty, kLogDebugging, "cam frequency is %s", frequency->text);
    return context.video->SetPU(kPowerLineFrequencyControl, frequency->control_value) != 0;
}

// clang-format off
constexpr PropertyRow kRows[] = {
    // id, access, needs, log line, stored value, apply, read, check
    {CAM_PROPERTY_ZOOM, Access::kGetSet, Needs::kVideo, "ZOOM: %d\r\n", {}, SendZoom, ReadZoom},
    {CAM_PROPERTY_PAN, Access::kGetSet, Needs::kVideo, "PAN: %d\r\n", {}, SendPan, ReadPan},
    {CAM_PROPERTY_TILT, Access::kGetSet, Needs::kVideo, "TILT: %d\r\n", {}, SendTilt, ReadTilt},
    {CAM_PROPERTY_FREQUENCY, Access::kSet, Needs::kVideo, nullptr, {}, SendFrequency},
};
// clang-format on
static_assert(IsConsistent(kRows), "ids rise, and each row has what it needs");

}  // namespace

constexpr PropertyGroup kPtzProperties = GroupOf(kRows);
