#include "devcmd/camera_terminal.h"

#include "api/device_commands.h"

namespace {

constexpr CameraTerminalControl kControls[] = {
    {kControlPanAbsolute, kCtPanTiltAbsolute, 8, 0, kControlTiltAbsolute},
    {kControlTiltAbsolute, kCtPanTiltAbsolute, 8, 4, kControlPanAbsolute},
    {kControlFocusAbsolute, kCtFocusAbsolute, 2, 0, 0},
    {kControlZoomAbsolute, kCtZoomAbsolute, 2, 0, 0},
};

}  // namespace

const CameraTerminalControl* FindCameraTerminalControl(unsigned id)
{
    for (const CameraTerminalControl& control : kControls) {
        if (control.id == id)
            return &control;
    }
    return nullptr;
}

int DecodeTerminalControl(const CameraTerminalControl& control, const unsigned char* data)
{
    const unsigned char* const value = data + control.value_offset;
    return control.length == 2 ? ReadLe16(value) : static_cast<int>(ReadLe32(value));
}
