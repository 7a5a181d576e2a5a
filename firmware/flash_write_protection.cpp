// Write protection of the controller's flash.

#include "api/firmware_download.h"
#include "devcmd/command_frames.h"

int DisableFlashWP(_KelDevHandle* device)
{
    constexpr unsigned char kSteps[] = {0, 2};
    for (const unsigned char step : kSteps) {
        MmpFrame frame = MmpFlashWriteProtect(step);
        KelMMPCmdSet16(device, frame.data());
    }
    return 0;
}
