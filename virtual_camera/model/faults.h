// Faults that a camera is asked to show, and when.
#ifndef VIRTUAL_CAMERA_MODEL_FAULTS_H
#define VIRTUAL_CAMERA_MODEL_FAULTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "virtual_camera/model/options.h"
#include "virtual_camera/usb_device.h"

namespace vcam {

/// The events that faults count, from 1. Counting goes on over a re-plug.
enum class FaultPoint {
    kContainer,  ///< a container is made
    kPayload,    ///< a bulk IN transfer begins a payload
    kIso,        ///< an isochronous transfer is due
    kControl,    ///< a control request
    kBulkOut,    ///< a block of an image
    kTime,       ///< a millisecond of the camera's life has gone by
};

enum class FaultAction {
    kLose,      ///< container: made and not sent; block: taken and forgotten; iso: empty
    kTruncate,  ///< container: only its first `value` bytes are sent
    kPad,       ///< container: `value` stray bytes follow the last section
    kGarble,    ///< container: its section headers are filled with rubbish
    kErr,       ///< payload: marked as bad in its header
    kExtraErr,  ///< payload: a bad one without use goes before it
    kHeader,    ///< payload: its header claims a length of `value`
    kShort,     ///< payload, control reply: only `value` bytes of it are sent
    kTimeout,   ///< the transfer runs into its time limit
    kStall,     ///< stalls this once
    kHalt,      ///< payload: stalls until the host clears the halt
    kOverflow,
    kError,
    kDelay,   ///< `value` milliseconds late
    kUnplug,  ///< leaves the bus; back after `value` milliseconds, never if negative
};

struct Fault {
    FaultPoint point = FaultPoint::kContainer;
    FaultAction action = FaultAction::kLose;
    /// Happens at the events first, first + step, ... up to last.
    std::uint64_t first = 1;
    std::uint64_t last = ~std::uint64_t{0};
    std::uint64_t step = 1;
    std::int64_t value = -1;

    /// @name Control requests: only matching ones are counted
    /// @{
    std::optional<std::uint8_t> request_type;
    std::optional<std::uint8_t> request;
    std::optional<std::uint8_t> entity;    ///< high byte of wIndex
    std::optional<std::uint8_t> selector;  ///< high byte of wValue
    /// @}
};

class FaultPlan
{
public:
    void Add(const Fault& fault) { m_rules.push_back({fault, 0}); }
    void Clear() { m_rules.clear(); }

    /// Counts an event; the fault that happens at it, if any.
    std::optional<Fault> Event(FaultPoint point);
    std::optional<Fault> ControlEvent(const SetupPacket& setup);
    /// Like an event for each millisecond up to `milliseconds`.
    std::optional<Fault> Time(std::uint64_t milliseconds);

private:
    struct Rule {
        Fault fault;
        std::uint64_t seen;
    };
    std::vector<Rule> m_rules;
};

/// A script: options and faults.
struct Script {
    CameraOptions options;
    std::vector<Fault> faults;
};

/// Reads a script's text; README.md describes the language. Options not
/// named keep their values in `options`. Throws std::invalid_argument with
/// the line's number.
Script ParseScript(const std::string& text, const CameraOptions& options);
/// The same from a file. Throws std::runtime_error when it cannot be read.
Script LoadScript(const std::string& path, const CameraOptions& options);

}  // namespace vcam

#endif
