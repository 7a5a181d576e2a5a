// What each property logs, checks, records and sends.

#include "api/device_commands.h"
#include "control/mains_frequency.h"
#include "control/property_setting.h"
#include "devcmd/command_frames.h"
#include "runtime/process_locks.h"

namespace property_setting {
namespace {

constexpr char kFunction[] = "SetProperty";
constexpr std::int32_t kMaxBitrate = 2560000;      // bit/s
constexpr std::int32_t kBitsPerEncoderUnit = 1024;
constexpr std::uint32_t kMaxVolume = 100;          // percent
constexpr std::uint32_t kFixedAudioRate = 24000;   // Hz
constexpr std::uint32_t kPtzUnitsPerStep = 3600;
constexpr std::int32_t kLastSignalType = CAM_SIGNAL_H264_MJPEG;
constexpr std::int32_t kLastVideoMode = 2;

std::uint16_t LowHalf(std::int32_t value)
{
    return static_cast<std::uint16_t>(value);
}

std::uint16_t HighHalf(std::int32_t value)
{
    return static_cast<std::uint16_t>(static_cast<std::uint32_t>(value) >> 16);
}

bool SendMmp(const ControlContext& context, MmpFrame frame)
{
    return context.video->KelCommandSend(kXuMmpCommand, frame.data(),
                                         static_cast<unsigned char>(frame.size())) >= 0;
}

/// Device units of a number of steps; wraps like the controller's own
/// arithmetic.
int PtzUnits(std::int32_t steps)
{
    return static_cast<int>(static_cast<std::uint32_t>(steps) * kPtzUnitsPerStep);
}

void SetPendingCrop(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    const MutexGuard guard(m_observer_lock);
    context.settings.m_pending_crop_x = LowHalf(value.value);
    context.settings.m_pending_crop_y = HighHalf(value.value);
    context.settings.crop_size = static_cast<std::uint32_t>(value.res[0]);
}

}  // namespace

Verdict GoOn(const ControlContext&, unsigned, const CAM_PROP_VALUE&)
{
    return Verdict::kApply;
}

Verdict AcceptOnly(const ControlContext&, unsigned, const CAM_PROP_VALUE&)
{
    return Verdict::kSucceed;
}

Verdict RecordOnly(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value)
{
    context.settings.recorded[id] = value.value;
    return Verdict::kSucceed;
}

Verdict PrepareBitrate(const ControlContext& context, unsigned, const CAM_PROP_VALUE& value)
{
    const std::int32_t bitrate = value.value > kMaxBitrate ? kMaxBitrate : value.value;
    context.settings.bitrate = static_cast<std::uint32_t>(bitrate);
    CAM_LOG_AS(kFunction, kLogDebugging, "BITRATE: %d bps\r\n", bitrate);
    return Verdict::kApply;
}

bool ApplyBitrate(const ControlContext& context, const CAM_PROP_VALUE&)
{
    const auto bitrate = static_cast<std::int32_t>(context.settings.bitrate);
    return context.video->SetBitrate(static_cast<unsigned>(bitrate / kBitsPerEncoderUnit)) != 0;
}

Verdict PrepareFramerate(const ControlContext& context, unsigned, const CAM_PROP_VALUE& value)
{
    context.settings.frame_rate = static_cast<std::uint32_t>(value.value);
    CAM_LOG_AS(kFunction, kLogDebugging, "FRAME RATE: %d fps\r\n", value.value);
    return Verdict::kApply;
}

bool ApplyFramerate(const ControlContext& context, const CAM_PROP_VALUE&)
{
    return context.video->SetFramerate(context.settings.frame_rate) != 0;
}

Verdict PrepareForceI(const ControlContext&, unsigned, const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogDebugging, "Force I: %d \r\n", value.value);
    return Verdict::kApply;
}

bool ApplyForceI(const ControlContext& context, const CAM_PROP_VALUE&)
{
    return context.video->RequestKeyFrame() != 0;
}

Verdict PrepareResolution(const ControlContext& context, unsigned, const CAM_PROP_VALUE& value)
{
    const std::uint16_t width = LowHalf(value.value);
    const std::uint16_t height = HighHalf(value.value);
    const int shown_width = static_cast<std::int16_t>(width);
    const int shown_height = static_cast<std::int16_t>(height);
    CAM_LOG_AS(kFunction, kLogDebugging, "RESOLUTION: w=%d, h=%d\r\n", shown_width, shown_height);
    if (width == context.settings.width && height == context.settings.height) {
        CAM_LOG_AS(kFunction, kLogFatal, "(%d x %d) is ignored!, Same setting!", shown_width,
                   shown_height);
        return Verdict::kFail;
    }
    context.settings.width = width;
    context.settings.height = height;
    return Verdict::kApply;
}

Verdict PrepareMicVolume(const ControlContext&, unsigned, const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogDebugging, "MICVOLUME: %d\r\n", value.value);
    if (static_cast<std::uint32_t>(value.value) > kMaxVolume) {
        CAM_LOG_AS(kFunction, kLogDebugging, "Exceed Mic Volume Range.[%d]", value.value);
        return Verdict::kFail;
    }
    return Verdict::kApply;
}

bool ApplyMicVolume(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    if (!context.audio->SetVolume(value.value)) {
        CAM_LOG_AS(kFunction, kLogDebugging, "Fail set MIC volume!!!\r\n");
        return false;
    }
    context.settings.mic_volume = static_cast<std::uint32_t>(value.value);
    return true;
}

Verdict PrepareAudioRate(const ControlContext& context, unsigned, const CAM_PROP_VALUE&)
{
    context.settings.audio_rate = kFixedAudioRate;
    return Verdict::kSucceed;
}

Verdict PrepareZoom(const ControlContext&, unsigned, const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogDebugging, "ZOOM: %d\r\n", value.value);
    return Verdict::kApply;
}

bool ApplyZoom(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    return context.video->SetPTZ(kControlZoomAbsolute, value.value) != 0;
}

Verdict PreparePan(const ControlContext&, unsigned, const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogDebugging, "PAN: %d\r\n", value.value);
    return Verdict::kApply;
}

bool ApplyPan(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    return context.video->SetPTZ(kControlPanAbsolute, PtzUnits(value.value)) != 0;
}

Verdict PrepareTilt(const ControlContext&, unsigned, const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogDebugging, "TILT: %d\r\n", value.value);
    return Verdict::kApply;
}

bool ApplyTilt(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    return context.video->SetPTZ(kControlTiltAbsolute, PtzUnits(value.value)) != 0;
}

bool ApplyFrequency(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    const MainsFrequency* const frequency = FindMainsFrequency(value.value);
    if (frequency == nullptr)
        return true;
    CAM_LOG_AS(kFunction, kLogDebugging, "cam frequency is %s", frequency->text);
    return context.video->SetPU(kPowerLineFrequencyControl, frequency->control_value) != 0;
}

Verdict PrepareSignalType(const ControlContext& context, unsigned, const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogDebugging, "Set SIGNAL TYPE: %d\r\n", value.value);
    if (value.value > kLastSignalType) {
        CAM_LOG_AS(kFunction, kLogDebugging, "Not support this format.\r\n");
        return Verdict::kSucceed;
    }
    // A negative value is taken; recording then selects no known combination.
    const auto type = static_cast<std::uint32_t>(value.value);
    if (type == context.settings.signal_type) {
        CAM_LOG_AS(kFunction, kLogDebugging, "same signal type %d, %d\n",
                   static_cast<int>(context.settings.signal_type), value.value);
        return Verdict::kSucceed;
    }
    context.settings.signal_type = type;
    return Verdict::kApply;
}

Verdict PrepareCropVga(const ControlContext& context, unsigned, const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogDebugging,
               "CAM_PROPERTY_CROP_VGA, x=%d, y=%d, w=%d, h=%d\r\n", LowHalf(value.value),
               HighHalf(value.value), LowHalf(value.res[0]), HighHalf(value.res[0]));
    SetPendingCrop(context, value);
    return Verdict::kSucceed;
}

Verdict PrepareCropGray(const ControlContext& context, unsigned, const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogDebugging,
               "CAM_PROPERTY_CROP_GRAY, x=%d, y=%d, w=%d, h=%d\r\n", LowHalf(value.value),
               HighHalf(value.value), LowHalf(value.res[0]), HighHalf(value.res[0]));
    SetPendingCrop(context, value);
    return Verdict::kSucceed;
}

Verdict PrepareTriggerJpeg(const ControlContext& context, unsigned, const CAM_PROP_VALUE&)
{
    CAM_LOG_AS(kFunction, kLogDebugging, "TRIGGER_JPEG:\r\n");
    context.settings.m_send_jpeg = 1;
    return context.settings.use_signal_type == 1 ? Verdict::kApply : Verdict::kSucceed;
}

bool ApplyTriggerJpeg(const ControlContext& context, const CAM_PROP_VALUE&)
{
    return SendMmp(context, MmpTriggerJpeg());
}

Verdict PrepareVideoMode(const ControlContext& context, unsigned, const CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogDebugging, "VIDEOMODE: %d\r\n", value.value);
    if (value.value > kLastVideoMode) {
        CAM_LOG_AS(kFunction, kLogDebugging, "Not support this format.\r\n");
        return Verdict::kFail;
    }
    context.settings.video_mode = static_cast<std::uint32_t>(value.value);
    return Verdict::kApply;
}

Verdict PrepareDebugLevel(const ControlContext& context, unsigned, const CAM_PROP_VALUE& value)
{
    return context.set_debug_level(value.value) ? Verdict::kSucceed : Verdict::kFail;
}

Verdict PrepareUserFlag(const ControlContext& context, unsigned, const CAM_PROP_VALUE& value)
{
    context.settings.user_flag = static_cast<std::uint8_t>(value.value);
    return Verdict::kApply;
}

bool ApplyUserFlag(const ControlContext& context, const CAM_PROP_VALUE&)
{
    return SendMmp(context, MmpUserFlag(context.settings.user_flag));
}

}  // namespace property_setting
