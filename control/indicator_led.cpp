#include "control/indicator_led.h"

#include "devcmd/command_frames.h"

bool TurnOnOffLED(const ControlContext& context, unsigned char on)
{
    IspFrame frame = LedFrame(on);
    if (!context.VideoReachable()) {
        LogUnreachable(__func__);
        return false;
    }
    return context.video->KelCommandSend(kXuLed, frame.data(),
                                         static_cast<unsigned char>(frame.size())) >= 0;
}
