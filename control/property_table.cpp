#include "control/property_table.h"

#include "control/property_query.h"
#include "control/property_setting.h"

namespace {

using namespace property_query;
using namespace property_setting;

// clang-format off
constexpr PropertyRow kProperties[] = {
    // id  name                          log, validate, record  needs             device action     query
    { 0, "BITRATE",          PrepareBitrate,      Needs::kVideo,     ApplyBitrate,     ReadBitrate},
    { 1, "FRAMERATE",        PrepareFramerate,    Needs::kVideo,     ApplyFramerate,   ReadFramerate},
    { 2, "FORCE_I",          PrepareForceI,       Needs::kVideo,     ApplyForceI,      nullptr},
    { 3, "RESOLUTION",       PrepareResolution,   Needs::kRecording, nullptr,          ReadResolution},
    { 4, "MICVOLUME",        PrepareMicVolume,    Needs::kAudio,     ApplyMicVolume,   ReadMicVolume},
    { 5, "AUDIO_RATE",       PrepareAudioRate,    Needs::kNothing,   nullptr,          ReadAudioRate},
    { 7, "ZOOM",             PrepareZoom,         Needs::kVideo,     ApplyZoom,        ReadZoom},
    { 8, "PAN",              PreparePan,          Needs::kVideo,     ApplyPan,         ReadPan},
    { 9, "TILT",             PrepareTilt,         Needs::kVideo,     ApplyTilt,        ReadTilt},
    {10, "FREQUENCY",        GoOn,                Needs::kVideo,     ApplyFrequency,   nullptr},
    {11, "",                 AcceptOnly,          Needs::kNothing,   nullptr,          nullptr},
    {12, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {13, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {14, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {15, "SIGNAL_TYPE",      PrepareSignalType,   Needs::kRecording, nullptr,          nullptr},
    {18, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {19, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {20, "CROP_VGA",         PrepareCropVga,      Needs::kNothing,   nullptr,          nullptr},
    {21, "TRIGGER_JPEG",     PrepareTriggerJpeg,  Needs::kVideo,     ApplyTriggerJpeg, nullptr},
    {24, "VIDEOMODE",        PrepareVideoMode,    Needs::kRecording, nullptr,          nullptr},
    {25, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {26, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {27, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {28, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {29, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {30, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {31, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {32, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {34, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {35, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {36, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {37, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {38, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {39, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {43, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {52, "ISP_STATUS",       nullptr,             Needs::kNothing,   nullptr,          ReadIspStatus},
    {63, "DEBUG_LEVEL",      PrepareDebugLevel,   Needs::kNothing,   nullptr,          ReadDebugLevel},
    {64, "",                 RecordOnly,          Needs::kNothing,   nullptr,          nullptr},
    {66, "CROP_GRAY",        PrepareCropGray,     Needs::kNothing,   nullptr,          nullptr},
    {68, "USER_FLAG",        PrepareUserFlag,     Needs::kVideo,     ApplyUserFlag,    ReadUserFlag},
    {70, "VIDEO_AUTO_TEST",  nullptr,             Needs::kNothing,   nullptr,          ReadVideoAutoTest},
    {71, "AUDIO_AUTO_TEST",  nullptr,             Needs::kNothing,   nullptr,          ReadAudioAutoTest},
    {72, "CONNECTION_CHECK", nullptr,             Needs::kNothing,   nullptr,          ReadConnectionCheck},
};
// clang-format on

}  // namespace

const PropertyRow* FindProperty(unsigned id)
{
    for (const PropertyRow& row : kProperties) {
        if (row.id == id)
            return &row;
    }
    return nullptr;
}
