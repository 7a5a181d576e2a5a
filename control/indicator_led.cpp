#include "control/indicator_led.h"

#include "control/send_frame.h"

bool TurnOnOffLED(const ControlContext& context, unsigned char on)
{
    if (!context.VideoReachable()) {
        LogUnreachable(__func__);
        return false;
    }
    return SendFrame(*context.video, kXuLed, LedFrame(on)) >= 0;
}
