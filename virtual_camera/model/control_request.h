// What the files that answer control requests share.
#ifndef VIRTUAL_CAMERA_MODEL_CONTROL_REQUEST_H
#define VIRTUAL_CAMERA_MODEL_CONTROL_REQUEST_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "virtual_camera/model/bytes.h"
#include "virtual_camera/usb_device.h"

namespace vcam {

enum RequestType : std::uint8_t {
    kDirectionIn = 0x80,
    kClassDevice = 0x20,
    kClassInterface = 0x21,
    kClassEndpoint = 0x22,
    kVendorDevice = 0x40,
};

inline TransferResult Stall()
{
    return {TransferStatus::kStall, 0, kNever};
}
inline TransferResult Moved(std::size_t length)
{
    return {TransferStatus::kCompleted, length, kNever};
}

inline TransferResult Reply(const SetupPacket& setup, unsigned char* data, const Bytes& reply)
{
    const std::size_t length = std::min<std::size_t>(setup.length, reply.size());
    std::copy_n(reply.begin(), length, data);
    return Moved(length);
}

inline std::uint8_t High(std::uint16_t word)
{
    return static_cast<std::uint8_t>(word >> 8);
}
inline std::uint8_t Low(std::uint16_t word)
{
    return static_cast<std::uint8_t>(word);
}

}  // namespace vcam

#endif
