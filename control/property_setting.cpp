#include "control/property_setting.h"

#include "control/property_rows.h"
#include "runtime/sleep.h"

namespace {

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
        LogUnreachable(kSetProperty);
    return met;
}

/// Logs, checks and records.
Verdict Prepare(const ControlContext& context, const PropertyRow& row, const CAM_PROP_VALUE& value)
    REQUIRES(m_video_ctrl_lock)
{
    const StoredValue& stored = row.stored;
    if (row.text != nullptr)
        CAM_LOG_AS(kSetProperty, kLogDebugging, row.text, value.value);
    if (!stored.range.Holds(value.value)) {
        CAM_LOG_AS(kSetProperty, kLogDebugging, stored.range.complaint, value.value);
        return stored.range.outside == Outside::kIgnored ? Verdict::kSucceed : Verdict::kFail;
    }
    const Verdict verdict = row.check == nullptr ? Verdict::kApply : row.check(context, value);
    if (verdict == Verdict::kApply && stored.recorded == Recorded::kFirst)
        stored.member.Set(context.settings, value.value);
    return verdict;
}

bool Apply(const ControlContext& context, const PropertyRow& row, const CAM_PROP_VALUE& value)
    REQUIRES(m_video_ctrl_lock)
{
    if (!MeetsNeeds(context, row.needs))
        return false;
    if (row.needs == Needs::kRecording)
        RestartRecording(context);  // whatever comes of it, the property is set
    if (row.apply != nullptr && !row.apply(context, value))
        return false;
    if (row.stored.recorded == Recorded::kWhenApplied)
        row.stored.member.Set(context.settings, value.value);
    return true;
}

bool Perform(const ControlContext& context, const PropertyRow& row, CAM_PROP_VALUE value)
    REQUIRES(m_video_ctrl_lock)
{
    if (row.stored.range.outside == Outside::kCut)
        value.value = row.stored.range.Cut(value.value);
    switch (Prepare(context, row, value)) {
    case Verdict::kSucceed:
        return true;
    case Verdict::kFail:
        return false;
    case Verdict::kApply:
        break;
    }
    return Apply(context, row, value);
}

}  // namespace

bool ApplyProperty(const ControlContext& context, CAM_PROPERTY property,
                   const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kSetProperty, kLogDebugging,
               "CKelVeskCamera::SetProperty prop=0x%X, param->value=0x%X, param->res[0]=0x%X, "
               "param->res[1]=0x%X\r\n",
               static_cast<unsigned>(property), static_cast<unsigned>(value.value),
               static_cast<unsigned>(value.res[0]), static_cast<unsigned>(value.res[1]));

    const PropertyRow* const row = FindProperty(property);
    bool result = false;
    if (row == nullptr || row->access == Access::kGet)
        CAM_LOG_AS(kSetProperty, kLogDebugging, "Not supported camera property\n");
    else
        result = Perform(context, *row, value);

    if (result)
        CAM_LOG_AS(kSetProperty, kLogDebugging, "Return true\r\n");
    else
        CAM_LOG_AS(kSetProperty, kLogFatal, "Fail set property 0x%x\r\n",
                   static_cast<unsigned>(property));
    return result;
}
