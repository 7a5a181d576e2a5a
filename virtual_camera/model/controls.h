// The standard controls: picture, lens, microphone. One table row each.
#ifndef VIRTUAL_CAMERA_MODEL_CONTROLS_H
#define VIRTUAL_CAMERA_MODEL_CONTROLS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "virtual_camera/model/bytes.h"
#include "virtual_camera/model/options.h"

namespace vcam {

/// Selectors (UVC 1.0, A.9.4 and A.9.5; UAC 1.0, A.10.2).
enum Selector : std::uint8_t {
    kFocusAbsolute = 0x06,
    kZoomAbsolute = 0x0B,
    kPanTiltAbsolute = 0x0D,
    kBacklight = 1,
    kBrightness = 2,
    kContrast = 3,
    kGain = 4,
    kPowerLineFrequency = 5,
    kHue = 6,
    kSaturation = 7,
    kSharpness = 8,
    kGamma = 9,
    kWhiteBalance = 10,
    kWhiteBalanceAuto = 11,
    kMute = 1,
    kVolume = 2,
};

struct ControlRow {
    std::uint8_t entity;
    std::uint8_t selector;
    const char* name;
    std::uint8_t fields;  ///< pan and tilt share one control
    std::uint8_t width;   ///< bytes a field
    bool is_signed;
    std::int32_t min, max, res, def;
};

class Controls
{
public:
    explicit Controls(const CameraOptions& options);

    /// Back to the defaults, as after power-on.
    void Reset();

    /// Answers a GET request into `reply`; false when there is no such
    /// control or request.
    bool Get(std::uint8_t request, std::uint8_t entity, std::uint8_t selector, Bytes& reply) const;
    /// Takes a SET_CUR; false when it is refused.
    bool Set(std::uint8_t entity, std::uint8_t selector, const std::uint8_t* data,
             std::size_t length);

    /// The last value; a control that does not exist is 0.
    std::int32_t Value(std::uint8_t entity, std::uint8_t selector, std::size_t field = 0) const;
    /// Sets one field to anything, in or out of range.
    void SetValue(std::uint8_t entity, std::uint8_t selector, std::size_t field,
                  std::int32_t value);
    bool Exists(std::uint8_t entity, std::uint8_t selector) const;
    const std::vector<ControlRow>& Rows() const { return m_rows; }

private:
    using Fields = std::array<std::int32_t, 2>;

    const ControlRow* Find(std::uint8_t entity, std::uint8_t selector) const;

    std::vector<ControlRow> m_rows;
    std::vector<Fields> m_values;
    bool m_strict;
};

}  // namespace vcam

#endif
