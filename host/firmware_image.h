// What can be told from an image file alone.
#ifndef TORVIK_HOST_FIRMWARE_IMAGE_H
#define TORVIK_HOST_FIRMWARE_IMAGE_H

#include <cstdint>
#include <string>

#include "host/access_unit.h"

namespace host {

struct FirmwareImage {
    Bytes bytes;
    bool has_version_word = false;  ///< long enough for one
    std::uint32_t version_word = 0;

    bool IsBootCode() const;
    std::uint32_t BootCodeVersion() const { return version_word & 0xFFFFF; }
    /// Sum of all bytes.
    std::uint64_t Checksum() const;
};

/// Throws a usage error when the file cannot be read.
FirmwareImage ReadFirmwareImage(const std::string& path);

}  // namespace host

#endif
