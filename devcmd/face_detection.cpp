// Face detection, through vendor requests.

#include <algorithm>

#include "devcmd/device_requests.h"
#include "runtime/debug_log.h"

namespace {

constexpr unsigned kTimeoutMs = 500;
constexpr unsigned char kRequestPositions = 1;
constexpr unsigned char kRequestParameters = 2;
constexpr unsigned kFaceSize = 8;
constexpr unsigned kReplySize = 1 + _FacePositionList::kMaxFaces * kFaceSize;

}  // namespace

int SetFD_Param(_KelDevHandle* device, _FACE_CMD* cmd)
{
    if (device == nullptr || cmd == nullptr)
        return -1;
    const int result = libusb_control_transfer_(device->handle, kVendorDeviceOut,
                                                kRequestParameters, 0, 0, cmd->bytes,
                                                sizeof cmd->bytes, kTimeoutMs);
    if (result < 0) {
        CAM_LOG(kLogFatal, "Failed to set FD parameter 0x%X", static_cast<unsigned>(result));
        return kCamUnsupported;
    }
    return 0;
}

int GetFD_Position(_KelDevHandle* device, _FacePositionList* list)
{
    if (device == nullptr || list == nullptr)
        return -1;
    unsigned char reply[kReplySize] = {};
    const int result = libusb_control_transfer_(device->handle, kVendorDeviceIn,
                                                kRequestPositions, 0, 0, reply, kReplySize,
                                                kTimeoutMs);
    list->count = reply[0];
    list->reserved = 0;
    const unsigned faces = std::min<unsigned>(reply[0], _FacePositionList::kMaxFaces);
    const unsigned char* field = reply + 1;
    for (unsigned face = 0; face < faces; ++face) {
        for (std::uint16_t& value : list->face[face]) {
            value = ReadLe16(field);
            field += 2;
        }
    }
    if (result < 0) {
        CAM_LOG(kLogFatal, "Failed to get fd pos array: 0x%X", static_cast<unsigned>(result));
        return kCamUnsupported;
    }
    return 0;
}
