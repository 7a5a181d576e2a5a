#include "control/property_setting.h"

#include "runtime/sleep.h"

namespace {

constexpr char kFunction[] = "SetProperty";
/// What SetProperty knows; ids above it can only be read.
constexpr unsigned kLastSettable = 68;
constexpr unsigned long kRestartPauseMicroseconds = 30000;

void RestartRecording(const ControlContext& context)
{
    context.camera.StopRecording();
    SleepMicroseconds(kRestartPauseMicroseconds);
    context.camera.StartRecording();
}

bool MeetsNeeds(const ControlContext& context, Needs needs)
{
    bool met = true;
    switch (needs) {
    case Needs::kNothing:
        break;
    case Needs::kVideo:
        met = context.VideoReachable();
        break;
    case Needs::kAudio:
        met = context.AudioReachable();
        break;
    case Needs::kRecording:
        met = context.Recording();
        break;
    }
    if (!met)
        LogUnreachable(kFunction);
    return met;
}

bool Perform(const ControlContext& context, const PropertyRow& row, const CAM_PROP_VALUE& value)
{
    switch (row.prepare(context, row.id, value)) {
    case Verdict::kSucceed:
        return true;
    case Verdict::kFail:
        return false;
    case Verdict::kApply:
        break;
    }
    if (!MeetsNeeds(context, row.needs))
        return false;
    if (row.needs == Needs::kRecording)
        RestartRecording(context);  // whatever comes of it, the property is set
    return row.apply == nullptr || row.apply(context, value);
}

}  // namespace

bool ApplyProperty(const ControlContext& context, CAM_PROPERTY property,
                   const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogDebugging,
               "CKelVeskCamera::SetProperty prop=0x%X, param->value=0x%X, param->res[0]=0x%X, "
               "param->res[1]=0x%X\r\n",
               static_cast<unsigned>(property), static_cast<unsigned>(value.value),
               static_cast<unsigned>(value.res[0]), static_cast<unsigned>(value.res[1]));

    const PropertyRow* const row = property <= kLastSettable ? FindProperty(property) : nullptr;
    bool result = false;
    if (row == nullptr || row->prepare == nullptr)
        CAM_LOG_AS(kFunction, kLogDebugging, "Not supported camera property\n");
    else
        result = Perform(context, *row, value);

    if (result)
        CAM_LOG_AS(kFunction, kLogDebugging, "Return true\r\n");
    else
        CAM_LOG_AS(kFunction, kLogFatal, "Fail set property 0x%x\r\n",
                   static_cast<unsigned>(property));
    return result;
}
