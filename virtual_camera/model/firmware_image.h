// The image files that the camera's flash holds; scripts/make-firmware-image
// makes them.
//
// offset  size  field
//      0     8  "VCAMIMG1"
//      8     4  length of the whole image
//     12     4  kind: 1 firmware, 2 boot code
//     16     6  firmware: the six version bytes that the camera reports
//     22     2  0
//     24     8  sum of all other bytes of the image
// 0x2032     4  boot code: version word, magic in the top 12 bits
// Everything little-endian.
#ifndef VIRTUAL_CAMERA_MODEL_FIRMWARE_IMAGE_H
#define VIRTUAL_CAMERA_MODEL_FIRMWARE_IMAGE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "virtual_camera/model/bytes.h"

namespace vcam {

enum class ImageKind { kFirmware, kBootCode };

struct ImageFacts {
    ImageKind kind = ImageKind::kFirmware;
    bool has_header = false;
    bool sound = false;      ///< header there, all bytes there, sum right
    std::size_t length = 0;  ///< as the header says, or all of it
    std::optional<std::array<std::uint8_t, 6>> firmware_version;
    std::optional<std::uint32_t> boot_code_version;
};

ImageFacts InspectImage(const Bytes& image);
/// What the download's checksum record must hold: the sum of all bytes.
std::uint64_t ImageChecksum(const Bytes& image);

}  // namespace vcam

#endif
