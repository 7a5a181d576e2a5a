// How a control request is answered.
#ifndef VIRTUAL_CAMERA_CONTROL_ANSWER_H
#define VIRTUAL_CAMERA_CONTROL_ANSWER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "virtual_camera/usb_device.h"

namespace vcam {

inline TransferResult Stall()
{
    return {TransferStatus::kStall, 0, kNever};
}

inline TransferResult Moved(std::size_t length)
{
    return {TransferStatus::kCompleted, length, kNever};
}

/// As much of the reply as was asked for.
inline TransferResult Reply(const SetupPacket& setup, unsigned char* data,
                            const std::vector<std::uint8_t>& reply)
{
    const std::size_t length = std::min<std::size_t>(setup.length, reply.size());
    std::copy_n(reply.begin(), length, data);
    return Moved(length);
}

}  // namespace vcam

#endif
