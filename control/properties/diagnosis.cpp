// Log and self-tests, and what is only kept: the user flag, and the ids that
// hosts set and nothing in the camera answers to.

#include "control/property_rows.h"
#include "control/send_frame.h"
#include "runtime/sleep.h"

namespace {

constexpr unsigned long kSelfTestSeconds = 2;

bool ReadIspStatus(const ControlContext& context, CAM_PROP_VALUE& value)
{
    if (!context.VideoReachable()) {
        value.value = 0;
        return false;
    }
    IspFrame frame = IspStatus();
    SendFrame(*context.video, kXuIspCommand, frame);
    ReceiveFrame(*context.video, kXuIspResult, frame);
    value.value = ReadLe16(frame.data() + 2);
    return true;
}

bool SetLevel(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    return context.set_debug_level(value.value);
}

bool ReadLevel(const ControlContext&, CAM_PROP_VALUE& value)
{
    value.value = static_cast<std::int32_t>(g_embedded_cam_dbg_level.load());
    return true;
}

bool SendUserFlag(const ControlContext& context, const CAM_PROP_VALUE&)
    REQUIRES(m_video_ctrl_lock)
{
    return SendFrame(*context.video, kXuMmpCommand, MmpUserFlag(context.settings.user_flag)) >= 0;
}

bool TestVideo(const ControlContext& context, CAM_PROP_VALUE& value)
{
    static constexpr char kNoResponse[] = "Video Auto Test failed. Device no response.\r\n";
    if (!context.VideoReachable()) {
        CAM_LOG_AS(kGetProperty, kLogDebugging, "%s", kNoResponse);
        value.value = 0;
        return false;
    }
    MmpFrame frame = MmpSelfTest();
    if (SendFrame(*context.video, kXuMmpCommand, frame) < 1) {
        CAM_LOG_AS(kGetProperty, kLogDebugging, "%s", kNoResponse);
        return false;
    }
    SleepSeconds(kSelfTestSeconds);
    ReceiveFrame(*context.video, kXuMmpResult, frame);
    if (frame[0] != 0) {
        CAM_LOG_AS(kGetProperty, kLogDebugging, "%s", kNoResponse);
        value.value = 0;
    } else {
        // Logged before the value is set, so the line shows the caller's.
        CAM_LOG_AS(kGetProperty, kLogDebugging, "Video Auto Test.(Result: %d)", value.value);
        value.value = 1;
    }
    return true;
}

bool TestAudio(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = context.firmware.CamVersion();
    CAM_LOG_AS(kGetProperty, kLogDebugging, "Audio Auto Test(Result: %d)", value.value);
    return true;
}

bool CheckConnection(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = context.firmware.CamVersion();
    CAM_LOG_AS(kGetProperty, kLogDebugging, "Camera Connection Check.(Result: %d)", value.value);
    return true;
}

/// Kept under its id.
constexpr PropertyRow RecordedOnly(unsigned id)
{
    return {id, Access::kSet, Needs::kNothing, nullptr, {{&CameraSettings::recorded, id}}};
}

// clang-format off
constexpr PropertyRow kRows[] = {
    // id, access, needs, log line, stored value, apply, read, check
    {11, Access::kSet, Needs::kNothing, nullptr},
    RecordedOnly(12),
    RecordedOnly(13),
    RecordedOnly(14),
    RecordedOnly(18),
    RecordedOnly(19),
    RecordedOnly(25),
    RecordedOnly(26),
    RecordedOnly(27),
    RecordedOnly(28),
    RecordedOnly(29),
    RecordedOnly(30),
    RecordedOnly(31),
    RecordedOnly(32),
    RecordedOnly(34),
    RecordedOnly(35),
    RecordedOnly(36),
    RecordedOnly(37),
    RecordedOnly(38),
    RecordedOnly(39),
    RecordedOnly(43),
    {CAM_PROPERTY_ISP_STATUS, Access::kGet, Needs::kNothing, nullptr, {}, nullptr, ReadIspStatus},
    {CAM_PROPERTY_DEBUG_LEVEL, Access::kGetSet, Needs::kNothing, nullptr, {}, SetLevel, ReadLevel},
    RecordedOnly(64),
    {CAM_PROPERTY_USER_FLAG, Access::kGetSet, Needs::kVideo, nullptr,
     {&CameraSettings::user_flag}, SendUserFlag},
    {CAM_PROPERTY_VIDEO_AUTO_TEST, Access::kGet, Needs::kNothing, nullptr, {}, nullptr, TestVideo},
    {CAM_PROPERTY_AUDIO_AUTO_TEST, Access::kGet, Needs::kNothing, nullptr, {}, nullptr, TestAudio},
    {CAM_PROPERTY_CONNECTION_CHECK, Access::kGet, Needs::kNothing, nullptr,
     {}, nullptr, CheckConnection},
};
// clang-format on
static_assert(IsConsistent(kRows), "ids rise, and each row has what it needs");

}  // namespace

constexpr PropertyGroup kDiagnosisProperties = GroupOf(kRows);
