// The main encoder: bit rate, frame rate, key frames.

#include "control/property_rows.h"

namespace {

constexpr std::int32_t kMaxBitrate = 2560000;  // bit/s
constexpr std::int32_t kBitsPerEncoderUnit = 1024;

bool SendBitrate(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    return context.video->SetBitrate(static_cast<unsigned>(value.value / kBitsPerEncoderUnit)) != 0;
}

bool SendFramerate(const ControlContext& context, const CAM_PROP_VALUE& value)
{
    return context.video->SetFramerate(static_cast<unsigned>(value.value)) != 0;
}

bool RequestKeyFrame(const ControlContext& context, const CAM_PROP_VALUE&)
{
    return context.video->RequestKeyFrame() != 0;
}

// clang-format off
constexpr PropertyRow kRows[] = {
    // id, access, needs, log line, stored value, apply, read, check
    {CAM_PROPERTY_BITRATE, Access::kGetSet, Needs::kVideo, "BITRATE: %d bps\r\n",
     {&CameraSettings::bitrate, {INT32_MIN, kMaxBitrate}}, SendBitrate},
    {CAM_PROPERTY_FRAMERATE, Access::kGetSet, Needs::kVideo, "FRAME RATE: %d fps\r\n",
     {&CameraSettings::frame_rate}, SendFramerate},
    {CAM_PROPERTY_FORCE_I, Access::kSet, Needs::kVideo, "Force I: %d \r\n", {}, RequestKeyFrame},
};
// clang-format on
static_assert(IsConsistent(kRows), "ids rise, and each row has what it needs");

}  // namespace

constexpr PropertyGroup kEncoderProperties = GroupOf(kRows);
