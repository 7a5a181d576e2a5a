// Pan, tilt, focus and zoom through the device-command library.

#include <new>

#include "devcmd/camera_terminal.h"
#include "devcmd/device_requests.h"
#include "runtime/debug_log.h"

namespace {

constexpr unsigned kTimeoutMs = 500;

}  // namespace

int GetPTZ_Pos(_KelDevHandle* device, unsigned int control, int* value)
{
    if (device == nullptr || value == nullptr)
        return -1;
    const CameraTerminalControl* const terminal = FindCameraTerminalControl(control);
    if (terminal == nullptr)
        return -1;
    auto* const data = new (std::nothrow) unsigned char[terminal->length]();
    if (data == nullptr) {
        CAM_LOG(kLogFatal, "GetPTZ_Pos is failed\r\n");
        return -1;
    }
    GetUnitControl(device, kCameraTerminalId, terminal->selector, data, terminal->length,
                   kTimeoutMs);
    *value = DecodeTerminalControl(*terminal, data);
    delete[] data;
    return 0;
}

int SetPTZ_Pos(_KelDevHandle* device, unsigned int control, int value)
{
    if (device == nullptr)
        return -1;
    const CameraTerminalControl* const terminal = FindCameraTerminalControl(control);
    if (terminal == nullptr)
        return kCamUnsupported;

    const auto bits = static_cast<std::uint32_t>(value);
    unsigned char frame[kMaxTerminalControlLength] = {};
    if (terminal->sibling_id == 0) {
        WriteLe16(frame, static_cast<std::uint16_t>(bits));
    } else {
        // Pan and tilt share one control, so the other axis is sent along.
        int sibling = 0;
        GetPTZ_Pos(device, terminal->sibling_id, &sibling);
        const auto other = static_cast<std::uint32_t>(sibling);
        if (control == kControlTiltAbsolute) {
            WriteLe32(frame, other);
            WriteLe32(frame + 4, bits);
        } else {
            WriteLe32(frame, bits);
            WriteLe16(frame + 4, static_cast<std::uint16_t>(other));
            // The controller takes the tilt's upper bytes as truth values here.
            frame[6] = other >> 16 != 0;
            frame[7] = other >> 24 != 0;
        }
    }
    SetUnitControl(device, kCameraTerminalId, terminal->selector, frame, terminal->length,
                   kTimeoutMs);
    return 0;
}
