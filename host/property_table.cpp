#include "host/property_table.h"

#include <climits>

#include "api/cam_types.h"
#include "host/host_error.h"
#include "host/name_list.h"

namespace host {

const std::vector<PropertyInfo>& Properties()
{
    constexpr std::int32_t kPanSteps = INT32_MAX / kCamPtzUnitsPerStep;
    using F = ValueForm;
    using R = Reading;
    static const std::vector<PropertyInfo> table = {
        {CAM_PROPERTY_BITRATE, "bitrate", "bit/s", F::kNumber, 0, 2560000, R::kPlain, true,
         "main H.264 stream"},
        {CAM_PROPERTY_FRAMERATE, "framerate", "1/s", F::kNumber, 1, 65535, R::kPlain, true,
         "main H.264 stream"},
        {CAM_PROPERTY_FORCE_I, "force-i", "", F::kNothing, 0, 0, R::kNever, true,
         "asks for a key frame"},
        {CAM_PROPERTY_RESOLUTION, "resolution", "pixels", F::kSize, 0, INT32_MAX, R::kPlain, true,
         "of the next recording; restarts a running one"},
        {CAM_PROPERTY_MICVOLUME, "mic-volume", "%", F::kNumber, 0, 100, R::kPlain, true, ""},
        {CAM_PROPERTY_AUDIO_RATE, "audio-rate", "Hz", F::kNumber, kCamAudioRate, kCamAudioRate,
         R::kPlain, true, "fixed"},
        {CAM_PROPERTY_ZOOM, "zoom", "device units", F::kNumber, 0, 65535, R::kPlain, true, ""},
        {CAM_PROPERTY_PAN, "pan", "steps", F::kNumber, -kPanSteps, kPanSteps, R::kPlain, true,
         "step: 3600 arc seconds"},
        {CAM_PROPERTY_TILT, "tilt", "steps", F::kNumber, -kPanSteps, kPanSteps, R::kFromDevice,
         true, "step: 3600 arc seconds"},
        {CAM_PROPERTY_FREQUENCY, "frequency", "", F::kFrequency, 1, 2, R::kNever, true,
         "mains frequency, against flicker"},
        {CAM_PROPERTY_SIGNAL_TYPE, "signal-type", "", F::kSignal, 0, 8, R::kNever, true,
         "of the next recording; restarts a running one"},
        {CAM_PROPERTY_CROP_VGA, "crop-vga", "pixels", F::kPoint, 0, INT32_MAX, R::kNever, true,
         "x,y w,h"},
        {CAM_PROPERTY_TRIGGER_JPEG, "trigger-jpeg", "", F::kNothing, 0, 0, R::kNever, true,
         "one JPEG for the observers"},
        {CAM_PROPERTY_VIDEOMODE, "video-mode", "", F::kNumber, 0, 2, R::kNever, true,
         "0: dual H.264; 1, 2: H.264 and JPEG"},
        {CAM_PROPERTY_ISP_STATUS, "isp-status", "", F::kNumber, 0, 65535, R::kPlain, false, ""},
        {CAM_PROPERTY_DEBUG_LEVEL, "debug-level", "", F::kNumber, 1, 5, R::kPlain, true,
         "log verbosity"},
        {CAM_PROPERTY_CROP_GRAY, "crop-gray", "pixels", F::kPoint, 0, INT32_MAX, R::kNever, true,
         "x,y w,h"},
        {CAM_PROPERTY_USER_FLAG, "user-flag", "", F::kNumber, 0, 255, R::kPlain, true, ""},
        {CAM_PROPERTY_VIDEO_AUTO_TEST, "video-auto-test", "", F::kNumber, 0, 1, R::kSelfTest, false,
         "1: passed"},
        {CAM_PROPERTY_AUDIO_AUTO_TEST, "audio-auto-test", "", F::kNumber, 0, 1, R::kSelfTest, false,
         "1: passed"},
        {CAM_PROPERTY_CONNECTION_CHECK, "connection-check", "", F::kNumber, 0, 1, R::kSelfTest,
         false, "1: the camera answers"},
    };
    return table;
}

const PropertyInfo& PropertyByName(const std::string& name)
{
    for (const PropertyInfo& property : Properties()) {
        if (SameName(name, property.name) || name == std::to_string(property.id)) {
            return property;
        }
    }
    throw HostError(kExitUsage,
                    "unknown property '" + name + "'; 'camhost properties' lists them");
}

}  // namespace host
