#include "control/video_options.h"

#include "control/send_frame.h"

int SetVideoOption(const ControlContext& context, std::uint32_t options)
{
    if (!context.VideoReachable()) {
        LogUnreachable(__func__);
        return -1;
    }
    CAM_LOG(kLogDebugging, "SetVideoOption = 0x%X", options);
    return SendFrame(*context.video, kXuMmpCommand, MmpSetVideoOption(options));
}

int GetVideoOption(const ControlContext& context, std::uint32_t* options)
{
    if (!context.VideoReachable()) {
        *options = 0;
        LogUnreachable(__func__);
        return -1;
    }
    MmpFrame frame = MmpQueryVideoOption();
    int result = SendFrame(*context.video, kXuMmpCommand, frame);
    if (result < 0)
        return result;
    result = ReceiveFrame(*context.video, kXuMmpResult, frame);
    if (result < 0)
        return result;
    *options = ReadLe32(frame.data() + 1);
    CAM_LOG(kLogDebugging, "GetVideoOption = 0x%X", *options);
    return result;
}
