#include "control/video_options.h"

#include "devcmd/command_frames.h"

int SetVideoOption(const ControlContext& context, std::uint32_t options)
{
    if (!context.VideoReachable()) {
        LogUnreachable(__func__);
        return -1;
    }
    MmpFrame frame = MmpSetVideoOption(options);
    CAM_LOG(kLogDebugging, "SetVideoOption = 0x%X", options);
    return context.video->KelCommandSend(kXuMmpCommand, frame.data(),
                                         static_cast<unsigned char>(frame.size()));
}

int GetVideoOption(const ControlContext& context, std::uint32_t* options)
{
    if (!context.VideoReachable()) {
        *options = 0;
        LogUnreachable(__func__);
        return -1;
    }
    MmpFrame frame = MmpQueryVideoOption();
    constexpr auto kLength = static_cast<unsigned char>(frame.size());
    int result = context.video->KelCommandSend(kXuMmpCommand, frame.data(), kLength);
    if (result < 0)
        return result;
    result = context.video->KelCommandGet(kXuMmpResult, frame.data(), kLength);
    if (result < 0)
        return result;
    *options = ReadLe32(frame.data() + 1);
    CAM_LOG(kLogDebugging, "GetVideoOption = 0x%X", *options);
    return result;
}
