#include "virtual_camera/model/flash.h"

#include <fstream>
#include <iostream>
#include <utility>

#include "virtual_camera/model/firmware_image.h"

namespace vcam {
namespace {

constexpr std::size_t kFlashSize = 64U << 20U;

void WriteFlashFile(const std::string& path, const Bytes& content)
{
    if (path.empty())
        return;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(content.data()),
               static_cast<std::streamsize>(content.size()));
    if (!file.flush())
        std::cerr << "virtual camera: cannot write " << path << '\n';
}

}  // namespace

Flash::Flash(const CameraOptions& options)
    : m_options(options),
      m_firmware_version(options.firmware_version),
      m_boot_code_version(options.boot_code_version)
{
}

bool Flash::IsBurn(std::uint8_t request)
{
    return request == kBurnFirmware || request == kBurnSecond || request == kBurnThird ||
           request == kBurnAndReboot;
}

void Flash::BeginAnnounced(std::uint64_t size)
{
    BeginUnannounced();
    m_announced = true;
    m_facts.announced = size;
}

void Flash::BeginUnannounced()
{
    m_image.clear();
    m_announced = false;
    m_facts.announced = m_facts.received = m_facts.blocks = 0;
    ++m_facts.begun;
}

void Flash::AddBlock(const std::uint8_t* data, std::size_t size)
{
    ++m_facts.blocks;
    m_facts.received += size;
    if (m_image.size() + size <= kFlashSize)
        m_image.insert(m_image.end(), data, data + size);
}

bool Flash::CheckSum(const std::uint8_t* record, std::size_t size)
{
    const bool good = size == 12 && LoadLe(record, 8) == ImageChecksum(m_image) &&
                      LoadLe(record + 8, 4) == m_image.size();
    if (!good)
        ++m_facts.refused;
    return good;
}

Flash::Outcome Flash::Refuse()
{
    ++m_facts.refused;
    m_image.clear();
    return Outcome::kRefused;
}

Flash::Outcome Flash::Burn(std::uint8_t request, std::uint64_t size, bool in_boot_loader)
{
    m_facts.last_burn = request;
    if (m_announced && (m_image.size() != m_facts.announced || m_image.size() != size))
        return Refuse();
    const ImageFacts image = InspectImage(m_image);
    // The extension unit's last block is filled up, so only the image itself
    // tells its length.
    if ((image.has_header && image.length != m_image.size() && m_announced) ||
        (m_options.strict_image && !image.sound) || m_image.empty())
        return Refuse();

    m_image.resize(image.length);
    ++m_facts.burnt;
    if (image.kind == ImageKind::kBootCode) {
        m_boot_code_version = *image.boot_code_version;
        m_boot_code = std::move(m_image);
        WriteFlashFile(m_options.boot_code_flash_file, m_boot_code);
    } else {
        if (image.firmware_version)
            m_firmware_version = *image.firmware_version;
        m_firmware = std::move(m_image);
        WriteFlashFile(m_options.firmware_flash_file, m_firmware);
    }
    m_image.clear();
    const bool reboots =
        image.kind == ImageKind::kFirmware &&
        (in_boot_loader || request == kBurnAndReboot || request == kExtensionUnitBurn);
    return reboots || request == kBurnAndReboot ? Outcome::kBurntAndReboots : Outcome::kBurnt;
}

}  // namespace vcam
