// The microphone.

#include "control/property_rows.h"

namespace {

constexpr std::int32_t kMaxVolume = 100;  // percent

bool SendVolume(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    if (context.audio->SetVolume(value.value))
        return true;
    CAM_LOG_AS(kSetProperty, kLogDebugging, "Fail set MIC volume!!!\r\n");
    return false;
}

// clang-format off
constexpr PropertyRow kRows[] = {
    // id, access, needs, log line, stored value, apply, read, check
    {CAM_PROPERTY_MICVOLUME, Access::kGetSet, Needs::kAudio, "MICVOLUME: %d\r\n",
     {&CameraSettings::mic_volume,
      {0, kMaxVolume, Outside::kRefused, "Exceed Mic Volume Range.[%d]"},
      Recorded::kWhenApplied},
     SendVolume},
    {CAM_PROPERTY_AUDIO_RATE, Access::kGetSet, Needs::kNothing, nullptr,
     {&CameraSettings::audio_rate, {kCamAudioRate, kCamAudioRate}}},
};
// clang-format on
static_assert(IsConsistent(kRows), "ids rise, and each row has what it needs");

}  // namespace

constexpr PropertyGroup kSoundProperties = GroupOf(kRows);
