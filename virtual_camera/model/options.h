// What a simulated camera is like from the moment it is plugged in.
#ifndef VIRTUAL_CAMERA_MODEL_OPTIONS_H
#define VIRTUAL_CAMERA_MODEL_OPTIONS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "virtual_camera/usb_device.h"

namespace vcam {

enum class Identity {
    kCamera,
    kBootLoaderBulk,  ///< boot loader with the vendor bulk interface 2
    kBootLoaderUvc,   ///< boot loader with nothing but the extension unit on interface 0
};

/// How the end of a container is told in the payload headers. The frame id
/// toggles in any case.
enum class EndOfFrame {
    kHeaderOnly,   ///< an empty payload with EOF set follows the last data
    kLastPayload,  ///< EOF is set in the payload with the last data
    kToggleOnly,   ///< EOF is never set
};

struct CameraOptions {
    Identity identity = Identity::kCamera;
    std::uint16_t vendor_id;  ///< all ids default to those of this build
    std::uint16_t product_id;
    std::uint16_t boot_product_id;
    std::array<std::uint8_t, 6> firmware_version{{0x00, 0x01, 0x00, 0x26, 0x00, 0x38}};
    std::uint32_t boot_code_version = 0x10;

    /// @name Streams
    /// @{
    bool video_paced = true;  ///< false: as fast as the host takes it
    bool audio_paced = true;
    TimeUs startup_time = 200000;       ///< from the commit to the first picture, when paced
    std::string media_dir;              ///< defaults to the project's media
    std::uint64_t container_limit = 0;  ///< containers sent in a stream before silence; 0: no end
    std::uint64_t audio_limit = 0;      ///< the same in isochronous transfers
    std::uint32_t first_frame_number = 0;
    unsigned raw_fps = 15;  ///< raw pictures and running JPEG
    std::uint32_t max_frame_size = 0x100000;
    std::uint32_t max_payload_size = 8192;
    EndOfFrame end_of_frame = EndOfFrame::kHeaderOnly;
    std::uint32_t data_alignment = 32;  ///< sections are padded to a multiple of this
    std::uint32_t seed = 1;             ///< of everything that looks random
    std::size_t record_cap = 200000;    ///< frames, and requests, remembered one by one
    /// @}

    /// @name Controls
    /// @{
    std::int16_t volume_min = -4096;  ///< 1/256 dB
    std::int16_t volume_max = 0;
    bool strict_ranges = false;  ///< stall on values out of range instead of storing them
    bool self_test_passes = true;
    std::uint16_t isp_status = 0x0012;
    /// @}

    /// @name Firmware download
    /// @{
    TimeUs burn_time = 300000;
    TimeUs reboot_time = 1000000;     ///< off the bus after a burn; kNever: for good
    bool strict_image = false;        ///< refuse images without the header of make-firmware-image
    std::string firmware_flash_file;  ///< written at each burn, when given
    std::string boot_code_flash_file;
    /// @}

    CameraOptions();
};

/// Sets one option by the name and text used in scripts and in the
/// environment. Throws std::invalid_argument with a readable message.
void ApplySetting(CameraOptions& options, const std::string& name, const std::string& value);

}  // namespace vcam

#endif
