#include "virtual_camera/model/controls.h"

#include <algorithm>

#include "virtual_camera/model/topology.h"

namespace vcam {
namespace {

constexpr std::int32_t kDegree = 3600;  // pan and tilt count seconds of arc

std::vector<ControlRow> MakeRows(const CameraOptions& options)
{
    // Stock drivers distrust a volume of more than 384 steps.
    const std::int32_t volume_step = std::max((options.volume_max - options.volume_min) / 256, 1);
    return {
        // entity, selector, name, fields, width, signed, min, max, res, default
        {kCameraTerminal, kFocusAbsolute, "focus", 1, 2, false, 0, 1023, 1, 300},
        {kCameraTerminal, kZoomAbsolute, "zoom", 1, 2, false, 100, 1000, 1, 100},
        {kCameraTerminal, kPanTiltAbsolute, "pan and tilt", 2, 4, true, -180 * kDegree,
         180 * kDegree, kDegree, 0},
        {kProcessingUnit, kBacklight, "backlight compensation", 1, 2, false, 0, 4, 1, 1},
        {kProcessingUnit, kBrightness, "brightness", 1, 2, true, -64, 64, 1, 0},
        {kProcessingUnit, kContrast, "contrast", 1, 2, false, 0, 100, 1, 50},
        {kProcessingUnit, kGain, "gain", 1, 2, false, 0, 255, 1, 16},
        {kProcessingUnit, kPowerLineFrequency, "power line frequency", 1, 1, false, 0, 2, 1, 1},
        {kProcessingUnit, kHue, "hue", 1, 2, true, -180, 180, 1, 0},
        {kProcessingUnit, kSaturation, "saturation", 1, 2, false, 0, 100, 1, 60},
        {kProcessingUnit, kSharpness, "sharpness", 1, 2, false, 0, 15, 1, 4},
        {kProcessingUnit, kGamma, "gamma", 1, 2, false, 100, 500, 1, 220},
        {kProcessingUnit, kWhiteBalance, "white balance", 1, 2, false, 2800, 6500, 10, 4600},
        {kProcessingUnit, kWhiteBalanceAuto, "automatic white balance", 1, 1, false, 0, 1, 1, 1},
        {kFeatureUnit, kMute, "mute", 1, 1, false, 0, 1, 1, 0},
        {kFeatureUnit, kVolume, "volume", 1, 2, true, options.volume_min, options.volume_max,
         volume_step, options.volume_max},
    };
}

}  // namespace

Controls::Controls(const CameraOptions& options)
    : m_rows(MakeRows(options)), m_strict(options.strict_ranges)
{
    Reset();
}

void Controls::Reset()
{
    m_values.clear();
    for (const ControlRow& row : m_rows) m_values.push_back({row.def, row.def});
}

const ControlRow* Controls::Find(std::uint8_t entity, std::uint8_t selector) const
{
    for (const ControlRow& row : m_rows)
        if (row.entity == entity && row.selector == selector)
            return &row;
    return nullptr;
}

bool Controls::Exists(std::uint8_t entity, std::uint8_t selector) const
{
    return Find(entity, selector) != nullptr;
}

std::int32_t Controls::Value(std::uint8_t entity, std::uint8_t selector, std::size_t field) const
{
    const ControlRow* row = Find(entity, selector);
    return row ? m_values[static_cast<std::size_t>(row - m_rows.data())][field] : 0;
}

void Controls::SetValue(std::uint8_t entity, std::uint8_t selector, std::size_t field,
                        std::int32_t value)
{
    if (const ControlRow* row = Find(entity, selector))
        m_values[static_cast<std::size_t>(row - m_rows.data())].at(field) = value;
}

bool Controls::Get(std::uint8_t request, std::uint8_t entity, std::uint8_t selector,
                   Bytes& reply) const
{
    const ControlRow* row = Find(entity, selector);
    if (!row)
        return false;
    // Audio units know neither length, info nor default (UAC 1.0, 5.2.1).
    if (row->entity == kFeatureUnit && request > kGetRes)
        return false;
    const Fields& current = m_values[static_cast<std::size_t>(row - m_rows.data())];
    Fields values{};
    switch (request) {
        case kGetCur:
            values = current;
            break;
        case kGetMin:
            values = {row->min, row->min};
            break;
        case kGetMax:
            values = {row->max, row->max};
            break;
        case kGetRes:
            values = {row->res, row->res};
            break;
        case kGetDef:
            values = {row->def, row->def};
            break;
        case kGetLen:
            reply.clear();
            Append(reply, std::uint64_t{row->fields} * row->width, 2);
            return true;
        case kGetInfo:
            reply = {0x03};  // get and set
            return true;
        default:
            return false;
    }
    reply.clear();
    for (std::size_t field = 0; field < row->fields; ++field)
        Append(reply, static_cast<std::uint32_t>(values[field]), row->width);
    return true;
}

bool Controls::Set(std::uint8_t entity, std::uint8_t selector, const std::uint8_t* data,
                   std::size_t length)
{
    const ControlRow* row = Find(entity, selector);
    if (!row || length != std::size_t{row->fields} * row->width)
        return false;
    Fields values{};
    for (std::size_t field = 0; field < row->fields; ++field) {
        auto raw = static_cast<std::uint32_t>(LoadLe(data + field * row->width, row->width));
        const unsigned bits = 8U * row->width;
        if (row->is_signed && bits < 32 && (raw >> (bits - 1)) != 0)
            raw |= ~std::uint32_t{0} << bits;
        values[field] = static_cast<std::int32_t>(raw);
        if (m_strict && (values[field] < row->min || values[field] > row->max))
            return false;
    }
    m_values[static_cast<std::size_t>(row - m_rows.data())] = values;
    return true;
}

}  // namespace vcam
