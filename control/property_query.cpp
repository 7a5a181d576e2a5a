#include "control/property_query.h"

#include "api/device_commands.h"
#include "control/property_table.h"
#include "devcmd/command_frames.h"
#include "runtime/sleep.h"

namespace {

constexpr char kFunction[] = "GetProperty";
/// Pan and tilt steps of the host in device units.
constexpr int kPtzUnitsPerStep = 3600;
constexpr unsigned long kSelfTestSeconds = 2;

int ReadPosition(const ControlContext& context, unsigned control)
{
    int position = 0;
    if (context.VideoReachable())
        context.video->GetPTZ(control, &position);
    return position;
}

template <typename Frame>
int Send(const ControlContext& context, unsigned char selector, Frame& frame)
{
    return context.video->KelCommandSend(selector, frame.data(),
                                         static_cast<unsigned char>(frame.size()));
}

template <typename Frame>
int Receive(const ControlContext& context, unsigned char selector, Frame& frame)
{
    return context.video->KelCommandGet(selector, frame.data(),
                                        static_cast<unsigned char>(frame.size()));
}

}  // namespace

bool QueryProperty(const ControlContext& context, CAM_PROPERTY property, CAM_PROP_VALUE& value)
{
    CAM_LOG_AS(kFunction, kLogInfo, "CKelVeskCamera::GetProperty prop=0x%X\r\n",
               static_cast<unsigned>(property));
    const PropertyRow* const row = FindProperty(property);
    if (row == nullptr || row->read == nullptr) {
        CAM_LOG_AS(kFunction, kLogDebugging, "Not supported camera property 0x%X\r\n",
                   static_cast<unsigned>(property));
        return false;
    }
    return row->read(context, value);
}

namespace property_query {

bool ReadBitrate(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = static_cast<std::int32_t>(context.settings.bitrate);
    return true;
}

bool ReadFramerate(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = static_cast<std::int32_t>(context.settings.frame_rate);
    return true;
}

bool ReadResolution(const ControlContext& context, CAM_PROP_VALUE& value)
{
    const std::uint32_t height = context.settings.height;
    value.value = static_cast<std::int32_t>(context.settings.width | height << 16);
    return true;
}

bool ReadMicVolume(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = static_cast<std::int32_t>(context.settings.mic_volume);
    return true;
}

bool ReadAudioRate(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = static_cast<std::int32_t>(context.settings.audio_rate);
    return true;
}

bool ReadZoom(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = ReadPosition(context, kControlZoomAbsolute);
    CAM_LOG_AS(kFunction, kLogDebugging, "Get ZOOM Step (%d)", value.value);
    return true;
}

bool ReadPan(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = ReadPosition(context, kControlPanAbsolute) / kPtzUnitsPerStep;
    CAM_LOG_AS(kFunction, kLogDebugging, "Get PAN Step (%d)", value.value);
    return true;
}

bool ReadTilt(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = ReadPosition(context, kControlTiltAbsolute) / kPtzUnitsPerStep;
    CAM_LOG_AS(kFunction, kLogDebugging, "Get TILT Step (%d)", value.value);
    // Hosts have come to read the debug level here; the tilt is in the log.
    return ReadDebugLevel(context, value);
}

bool ReadIspStatus(const ControlContext& context, CAM_PROP_VALUE& value)
{
    if (!context.VideoReachable()) {
        value.value = 0;
        return false;
    }
    IspFrame frame = IspStatus();
    Send(context, kXuIspCommand, frame);
    Receive(context, kXuIspResult, frame);
    value.value = ReadLe16(frame.data() + 2);
    return true;
}

bool ReadDebugLevel(const ControlContext&, CAM_PROP_VALUE& value)
{
    value.value = static_cast<std::int32_t>(g_embedded_cam_dbg_level.load());
    return true;
}

bool ReadUserFlag(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = context.settings.user_flag;
    return true;
}

bool ReadVideoAutoTest(const ControlContext& context, CAM_PROP_VALUE& value)
{
    static constexpr char kNoResponse[] = "Video Auto Test failed. Device no response.\r\n";
    if (!context.VideoReachable()) {
        CAM_LOG_AS(kFunction, kLogDebugging, "%s", kNoResponse);
        value.value = 0;
        return false;
    }
    MmpFrame frame = MmpSelfTest();
    if (Send(context, kXuMmpCommand, frame) < 1) {
        CAM_LOG_AS(kFunction, kLogDebugging, "%s", kNoResponse);
        return false;
    }
    SleepSeconds(kSelfTestSeconds);
    Receive(context, kXuMmpResult, frame);
    if (frame[0] != 0) {
        CAM_LOG_AS(kFunction, kLogDebugging, "%s", kNoResponse);
        value.value = 0;
    } else {
        // Logged before the value is set, so the line shows the caller's.
        CAM_LOG_AS(kFunction, kLogDebugging, "Video Auto Test.(Result: %d)", value.value);
        value.value = 1;
    }
    return true;
}

bool ReadAudioAutoTest(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = context.firmware.CamVersion();
    CAM_LOG_AS(kFunction, kLogDebugging, "Audio Auto Test(Result: %d)", value.value);
    return true;
}

bool ReadConnectionCheck(const ControlContext& context, CAM_PROP_VALUE& value)
{
    value.value = context.firmware.CamVersion();
    CAM_LOG_AS(kFunction, kLogDebugging, "Camera Connection Check.(Result: %d)", value.value);
    return true;
}

}  // namespace property_query
