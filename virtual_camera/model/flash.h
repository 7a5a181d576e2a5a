// Takes an image over the bulk pipe or the extension unit and burns it.
#ifndef VIRTUAL_CAMERA_MODEL_FLASH_H
#define VIRTUAL_CAMERA_MODEL_FLASH_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "virtual_camera/model/bytes.h"
#include "virtual_camera/model/options.h"

namespace vcam {

/// What a download looked like, for tests.
struct DownloadFacts {
    std::uint64_t announced = 0;  ///< size told beforehand; 0 on the extension unit
    std::uint64_t received = 0;   ///< bytes
    std::uint64_t blocks = 0;
    std::uint64_t begun = 0;     ///< downloads since plug-in
    std::uint64_t burnt = 0;     ///< good burns
    std::uint64_t refused = 0;   ///< burns and checksums refused
    std::uint8_t last_burn = 0;  ///< the request that burnt; 1 for the extension unit's
};

class Flash
{
public:
    /// Vendor requests, host to device.
    enum VendorRequest : std::uint8_t {
        kBurnFirmware = 0x03,
        kBurnThird = 0x05,
        kBurnSecond = 0x06,
        kChecksum = 0x07,
        kBurnAndReboot = 0x08,
        kAnnounce = 0x82,
    };
    static constexpr std::uint8_t kExtensionUnitBurn = 0x01;

    explicit Flash(const CameraOptions& options);

    static bool IsBurn(std::uint8_t request);

    void BeginAnnounced(std::uint64_t size);
    void BeginUnannounced();
    void AddBlock(const std::uint8_t* data, std::size_t size);
    /// Compares a checksum record with what arrived.
    bool CheckSum(const std::uint8_t* record, std::size_t size);

    enum class Outcome { kRefused, kBurnt, kBurntAndReboots };
    Outcome Burn(std::uint8_t request, std::uint64_t size, bool in_boot_loader);

    const Bytes& Firmware() const { return m_firmware; }
    const Bytes& BootCode() const { return m_boot_code; }
    const std::array<std::uint8_t, 6>& FirmwareVersion() const { return m_firmware_version; }
    std::uint32_t BootCodeVersion() const { return m_boot_code_version; }
    const DownloadFacts& Facts() const { return m_facts; }

private:
    Outcome Refuse();

    const CameraOptions& m_options;
    Bytes m_image;  ///< arriving
    bool m_announced = false;
    DownloadFacts m_facts;
    Bytes m_firmware, m_boot_code;
    std::array<std::uint8_t, 6> m_firmware_version;
    std::uint32_t m_boot_code_version;
};

}  // namespace vcam

#endif
