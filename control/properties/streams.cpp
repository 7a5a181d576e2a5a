// Which streams there are, and what is in the pictures: size, combination, crop
// window, stills.

#include "control/property_rows.h"
#include "control/send_frame.h"
#include "runtime/process_locks.h"

namespace {

constexpr std::int32_t kLastVideoMode = 2;
constexpr char kUnknownFormat[] = "Not support this format.\r\n";

std::uint16_t LowHalf(std::int32_t value)
{
    return static_cast<std::uint16_t>(value);
}

std::uint16_t HighHalf(std::int32_t value)
{
    return static_cast<std::uint16_t>(static_cast<std::uint32_t>(value) >> 16);
}

Verdict TakeResolution(const ControlContext& context, const CAM_PROP_VALUE& value)
    REQUIRES(m_video_ctrl_lock)
{
    const std::uint16_t width = LowHalf(value.value);
    const std::uint16_t height = HighHalf(value.value);
    const int shown_width = static_cast<std::int16_t>(width);
    const int shown_height = static_cast<std::int16_t>(height);
    CAM_LOG_AS(kSetProperty, kLogDebugging, "RESOLUTION: w=%d, h=%d\r\n", shown_width,
               shown_height);
    if (width == context.settings.width && height == context.settings.height) {
        CAM_LOG_AS(kSetProperty, kLogFatal, "(%d x %d) is ignored!, Same setting!", shown_width,
                   shown_height);
        return Verdict::kFail;
    }
    context.settings.width = width;
    context.settings.height = height;
    return Verdict::kApply;
}

bool ReadResolution(const ControlContext& context, CAM_PROP_VALUE& value)
    REQUIRES(m_video_ctrl_lock)
{
    const std::uint32_t height = context.settings.height;
    value.value = static_cast<std::int32_t>(context.settings.width | height << 16);
    return true;
}

/// A negative type is taken; recording then selects no known combination.
Verdict CheckSignalType(const ControlContext& context, const CAM_PROP_VALUE& value)
    REQUIRES(m_video_ctrl_lock)
{
    const auto current = static_cast<std::int32_t>(context.settings.signal_type);
    if (value.value != current)
        return Verdict::kApply;
    CAM_LOG_AS(kSetProperty, kLogDebugging, "same signal type %d, %d\n", current, value.value);
    return Verdict::kSucceed;
}

void SetPendingCrop(const ControlContext& context, const CAM_PROP_VALUE& value)
    REQUIRES(m_video_ctrl_lock)
{
    const MutexGuard guard(m_observer_lock);
    context.settings.m_pending_crop_x = LowHalf(value.value);
    context.settings.m_pending_crop_y = HighHalf(value.value);
    context.settings.crop_size = static_cast<std::uint32_t>(value.res[0]);
}

bool CropVga(const ControlContext& context, const CAM_PROP_VALUE& value)
    REQUIRES(m_video_ctrl_lock)
{
    CAM_LOG_AS(kSetProperty, kLogDebugging,
               "CAM_PROPERTY_CROP_VGA, x=%d, y=%d, w=%d, h=%d\r\n", LowHalf(value.value),
               HighHalf(value.value), LowHalf(value.res[0]), HighHalf(value.res[0]));
    SetPendingCrop(context, value);
    return true;
}

bool CropGray(const ControlContext& context, const CAM_PROP_VALUE& value)
    REQUIRES(m_video_ctrl_lock)
{
    CAM_LOG_AS(kSetProperty, kLogDebugging,
               "CAM_PROPERTY_CROP_GRAY, x=%d, y=%d, w=%d, h=%d\r\n", LowHalf(value.value),
               HighHalf(value.value), LowHalf(value.res[0]), HighHalf(value.res[0]));
    SetPendingCrop(context, value);
    return true;
}

/// The request stands, whether or not the camera can be told of it. Configured
/// by video mode it is not told at all.
Verdict RequestStill(const ControlContext& context, const CAM_PROP_VALUE&)
    REQUIRES(m_video_ctrl_lock)
{
    context.settings.m_send_jpeg = 1;
    return context.settings.use_signal_type == 1 ? Verdict::kApply : Verdict::kSucceed;
}

bool TriggerStill(const ControlContext& context, const CAM_PROP_VALUE&)
{
    return SendFrame(*context.video, kXuMmpCommand, MmpTriggerJpeg()) >= 0;
}

// clang-format off
constexpr PropertyRow kRows[] = {
    // id, access, needs, log line, stored value, apply, read, check
    {CAM_PROPERTY_RESOLUTION, Access::kGetSet, Needs::kRecording, nullptr,
     {}, nullptr, ReadResolution, TakeResolution},
    {CAM_PROPERTY_SIGNAL_TYPE, Access::kSet, Needs::kRecording, "Set SIGNAL TYPE: %d\r\n",
     {&CameraSettings::signal_type,
      {INT32_MIN, CAM_SIGNAL_H264_MJPEG, Outside::kIgnored, kUnknownFormat}},
     nullptr, nullptr, CheckSignalType},
    {CAM_PROPERTY_CROP_VGA, Access::kSet, Needs::kNothing, nullptr, {}, CropVga},
    {CAM_PROPERTY_TRIGGER_JPEG, Access::kSet, Needs::kVideo, "TRIGGER_JPEG:\r\n",
     {}, TriggerStill, nullptr, RequestStill},
    {CAM_PROPERTY_VIDEOMODE, Access::kSet, Needs::kRecording, "VIDEOMODE: %d\r\n",
     {&CameraSettings::video_mode,
      {INT32_MIN, kLastVideoMode, Outside::kRefused, kUnknownFormat}}},
    {CAM_PROPERTY_CROP_GRAY, Access::kSet, Needs::kNothing, nullptr, {}, CropGray},
};
// clang-format on
static_assert(IsConsistent(kRows), "ids rise, and each row has what it needs");

}  // namespace

constexpr PropertyGroup kStreamProperties = GroupOf(kRows);
