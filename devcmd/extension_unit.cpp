// Transfers on the extension unit.

#include "devcmd/device_requests.h"
#include "runtime/debug_log.h"

namespace {

constexpr unsigned kXuTimeoutMs = 1000;
constexpr unsigned kIspSetTimeoutMs = 500;
constexpr unsigned kMmpSetTimeoutMs = 1000;
constexpr unsigned kMmpGetTimeoutMs = 500;
constexpr unsigned short kIspLength = 8;
constexpr unsigned short kMmpLength = 16;

}  // namespace

int KelXU_XuCmd(_KelDevHandle* device, unsigned char* data, unsigned short selector,
                unsigned char length, unsigned char set)
{
    if (device == nullptr || (data == nullptr && length != 0))
        return kCamUnsupported;
    const auto control = static_cast<unsigned char>(selector);
    const int result =
        set != 0 ? SetUnitControl(device, kExtensionUnitId, control, data, length, kXuTimeoutMs)
                 : GetUnitControl(device, kExtensionUnitId, control, data, length, kXuTimeoutMs);
    if (result < 0) {
        CAM_LOG(kLogFatal, "KelXUCmd failed : 0x%X", static_cast<unsigned>(result));
        return result;
    }
    return 0;
}

int KelIspCmdSet(_KelDevHandle* device, unsigned char* cmd)
{
    if (device == nullptr || cmd == nullptr)
        return -1;
    const int result = SetUnitControl(device, kExtensionUnitId, kXuIspCommand, cmd, kIspLength,
                                      kIspSetTimeoutMs);
    if (result < 0) {
        CAM_LOG(kLogFatal, "KelIspCmdSet failed : 0x%X", static_cast<unsigned>(result));
        return result;
    }
    return 0;
}

int KelIspCmdGetResult(_KelDevHandle* device, unsigned char* result_frame, unsigned int timeoutMs)
{
    if (device == nullptr || result_frame == nullptr)
        return -1;
    const int result = GetUnitControl(device, kExtensionUnitId, kXuIspResult, result_frame,
                                      kIspLength, timeoutMs);
    if (result < 0) {
        CAM_LOG(kLogFatal, "KelIspCmdGet failed : 0x%X", static_cast<unsigned>(result));
        return result;
    }
    return 0;
}

int KelMMPCmdSet16(_KelDevHandle* device, unsigned char* cmd)
{
    if (device == nullptr || cmd == nullptr)
        return -1;
    // The controller drops the answer to some of these commands although it
    // carries them out, so the transfer's result says nothing.
    SetUnitControl(device, kExtensionUnitId, kXuMmpCommand, cmd, kMmpLength, kMmpSetTimeoutMs);
    return 0;
}

int KelMMPCmdGetResult16(_KelDevHandle* device, unsigned char* result_frame)
{
    if (device == nullptr || result_frame == nullptr)
        return -1;
    const int result = GetUnitControl(device, kExtensionUnitId, kXuMmpResult, result_frame,
                                      kMmpLength, kMmpGetTimeoutMs);
    if (result < 0) {
        CAM_LOG(kLogFatal, "KelIspCmdGet failed : 0x%X", static_cast<unsigned>(result));
        return result;
    }
    return 0;
}
