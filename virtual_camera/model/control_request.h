// What the files that answer control requests share.
#ifndef VIRTUAL_CAMERA_MODEL_CONTROL_REQUEST_H
#define VIRTUAL_CAMERA_MODEL_CONTROL_REQUEST_H

#include <cstdint>

#include "virtual_camera/control_answer.h"
#include "virtual_camera/model/bytes.h"

namespace vcam {

enum RequestType : std::uint8_t {
    kDirectionIn = 0x80,
    kClassDevice = 0x20,
    kClassInterface = 0x21,
    kClassEndpoint = 0x22,
    kVendorDevice = 0x40,
};

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
