#include "virtual_camera/model/options.h"

#include <functional>
#include <limits>
#include <map>
#include <stdexcept>

namespace vcam {
namespace {

std::uint64_t Number(const std::string& text, std::uint64_t limit)
{
    std::size_t used = 0;
    unsigned long long value = 0;
    try {
        value = std::stoull(text, &used, 0);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used == 0 || used != text.size() || text[0] == '-' || value > limit)
        throw std::invalid_argument("\"" + text + "\" is no number that fits");
    return value;
}

template <typename T>
T Unsigned(const std::string& text)
{
    return static_cast<T>(Number(text, std::numeric_limits<T>::max()));
}

std::int16_t Signed16(const std::string& text)
{
    const bool negative = !text.empty() && text[0] == '-';
    const auto size = static_cast<int>(Number(negative ? text.substr(1) : text, 32767));
    return static_cast<std::int16_t>(negative ? -size : size);
}

bool Flag(const std::string& text)
{
    if (text == "1" || text == "yes" || text == "on" || text == "true")
        return true;
    if (text == "0" || text == "no" || text == "off" || text == "false")
        return false;
    throw std::invalid_argument("\"" + text + "\" is neither yes nor no");
}

TimeUs Milliseconds(const std::string& text)
{
    return Number(text, 1000000000) * 1000;
}

Identity ParseIdentity(const std::string& text)
{
    if (text == "camera")
        return Identity::kCamera;
    if (text == "boot-loader" || text == "boot-loader-bulk")
        return Identity::kBootLoaderBulk;
    if (text == "boot-loader-uvc")
        return Identity::kBootLoaderUvc;
    throw std::invalid_argument("no identity is called \"" + text + "\"");
}

EndOfFrame ParseEndOfFrame(const std::string& text)
{
    if (text == "header-only")
        return EndOfFrame::kHeaderOnly;
    if (text == "last-payload")
        return EndOfFrame::kLastPayload;
    if (text == "toggle-only")
        return EndOfFrame::kToggleOnly;
    throw std::invalid_argument("no end of frame is called \"" + text + "\"");
}

/// Six bytes in hexadecimal, such as 00.01.00.26.00.38.
std::array<std::uint8_t, 6> ParseVersion(const std::string& text)
{
    std::array<std::uint8_t, 6> version{};
    std::size_t position = 0;
    for (auto& byte : version) {
        const auto dot = text.find('.', position);
        byte = Unsigned<std::uint8_t>("0x" + text.substr(position, dot - position));
        position = dot == std::string::npos ? text.size() : dot + 1;
    }
    return version;
}

using Setter = std::function<void(CameraOptions&, const std::string&)>;

const std::map<std::string, Setter>& Setters()
{
    using O = CameraOptions;
    using S = const std::string;
    static const std::map<std::string, Setter> setters = {
        {"identity", [](O& o, S& v) { o.identity = ParseIdentity(v); }},
        {"vendor-id", [](O& o, S& v) { o.vendor_id = Unsigned<std::uint16_t>(v); }},
        {"product-id", [](O& o, S& v) { o.product_id = Unsigned<std::uint16_t>(v); }},
        {"boot-product-id", [](O& o, S& v) { o.boot_product_id = Unsigned<std::uint16_t>(v); }},
        {"firmware-version", [](O& o, S& v) { o.firmware_version = ParseVersion(v); }},
        {"boot-code-version", [](O& o, S& v) { o.boot_code_version = Unsigned<std::uint32_t>(v); }},
        {"video-paced", [](O& o, S& v) { o.video_paced = Flag(v); }},
        {"audio-paced", [](O& o, S& v) { o.audio_paced = Flag(v); }},
        {"startup-ms", [](O& o, S& v) { o.startup_time = Milliseconds(v); }},
        {"media", [](O& o, S& v) { o.media_dir = v; }},
        {"container-limit", [](O& o, S& v) { o.container_limit = Unsigned<std::uint64_t>(v); }},
        {"audio-limit", [](O& o, S& v) { o.audio_limit = Unsigned<std::uint64_t>(v); }},
        {"first-frame-number",
         [](O& o, S& v) { o.first_frame_number = Unsigned<std::uint32_t>(v); }},
        {"raw-fps", [](O& o, S& v) { o.raw_fps = Unsigned<std::uint8_t>(v); }},
        {"max-frame-size", [](O& o, S& v) { o.max_frame_size = Unsigned<std::uint32_t>(v); }},
        {"max-payload-size", [](O& o, S& v) { o.max_payload_size = Unsigned<std::uint32_t>(v); }},
        {"end-of-frame", [](O& o, S& v) { o.end_of_frame = ParseEndOfFrame(v); }},
        {"data-alignment", [](O& o, S& v) { o.data_alignment = Unsigned<std::uint16_t>(v); }},
        {"seed", [](O& o, S& v) { o.seed = Unsigned<std::uint32_t>(v); }},
        {"volume-min", [](O& o, S& v) { o.volume_min = Signed16(v); }},
        {"volume-max", [](O& o, S& v) { o.volume_max = Signed16(v); }},
        {"strict-ranges", [](O& o, S& v) { o.strict_ranges = Flag(v); }},
        {"self-test-passes", [](O& o, S& v) { o.self_test_passes = Flag(v); }},
        {"isp-status", [](O& o, S& v) { o.isp_status = Unsigned<std::uint16_t>(v); }},
        {"burn-ms", [](O& o, S& v) { o.burn_time = Milliseconds(v); }},
        {"reboot-ms", [](O& o, S& v) { o.reboot_time = v == "never" ? kNever : Milliseconds(v); }},
        {"strict-image", [](O& o, S& v) { o.strict_image = Flag(v); }},
        {"firmware-flash", [](O& o, S& v) { o.firmware_flash_file = v; }},
        {"boot-code-flash", [](O& o, S& v) { o.boot_code_flash_file = v; }},
    };
    return setters;
}

}  // namespace

CameraOptions::CameraOptions()
    : vendor_id(TORVIK_CAM_VENDOR_ID),
      product_id(TORVIK_CAM_PRODUCT_ID),
      boot_product_id(TORVIK_CAM_BOOT_PRODUCT_ID),
      media_dir(VCAM_DEFAULT_MEDIA_DIR)
{
}

void ApplySetting(CameraOptions& options, const std::string& name, const std::string& value)
{
    const auto setter = Setters().find(name);
    if (setter == Setters().end())
        throw std::invalid_argument("no option is called \"" + name + "\"");
    try {
        setter->second(options, value);
    } catch (const std::invalid_argument& problem) {
        throw std::invalid_argument("option " + name + ": " + problem.what());
    }
}

}  // namespace vcam
