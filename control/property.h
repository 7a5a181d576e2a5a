// What a property is: one row of the tables in control/properties.
#ifndef TORVIK_CONTROL_PROPERTY_H
#define TORVIK_CONTROL_PROPERTY_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "api/camera_property.h"
#include "control/control_context.h"

/// The host's operations; what belongs to a property logs under their names.
constexpr char kSetProperty[] = "SetProperty";
constexpr char kGetProperty[] = "GetProperty";

/// Which of the two know a property.
enum class Access { kGet, kSet, kGetSet };

/// What a property needs before it is applied.
enum class Needs {
    kNothing,
    kVideo,      ///< a reachable video adapter
    kAudio,      ///< a reachable audio adapter
    kRecording,  ///< running recording, which is restarted; otherwise the call fails
};

/// What setting a property comes to after its value was looked at.
enum class Verdict {
    kApply,    ///< record it and go on to the device
    kSucceed,  ///< done: nothing to record or send
    kFail,
};

/// The member of the settings that keeps a property's value, if one does.
class SettingsMember
{
public:
    using RecordedValues = std::int32_t (CameraSettings::*)[CameraSettings::kRecordedProperties];

    constexpr SettingsMember() = default;
    constexpr SettingsMember(std::uint32_t CameraSettings::*word) : m_word(word) {}
    /// Keeps the low byte.
    constexpr SettingsMember(std::uint8_t CameraSettings::*byte) : m_byte(byte) {}
    constexpr SettingsMember(RecordedValues values, unsigned id) : m_recorded(values), m_id(id) {}

    constexpr bool Exists() const
    {
        return m_word != nullptr || m_byte != nullptr || m_recorded != nullptr;
    }
    constexpr bool IsInside() const { return m_id < CameraSettings::kRecordedProperties; }
    std::int32_t Get(const CameraSettings& settings) const REQUIRES(m_video_ctrl_lock);
    void Set(CameraSettings& settings, std::int32_t value) const REQUIRES(m_video_ctrl_lock);

private:
    std::uint32_t CameraSettings::*m_word = nullptr;
    std::uint8_t CameraSettings::*m_byte = nullptr;
    RecordedValues m_recorded = nullptr;
    unsigned m_id = 0;
};

/// What becomes of a value outside of the range.
enum class Outside {
    kCut,      ///< the nearest value inside takes its place
    kIgnored,  ///< nothing, and the call succeeds
    kRefused,  ///< nothing, and the call fails
};

struct ValueRange {
    std::int32_t low = INT32_MIN;
    std::int32_t high = INT32_MAX;
    Outside outside = Outside::kCut;
    const char* complaint = nullptr;  ///< logged with a value that is not cut

    constexpr bool Holds(std::int32_t value) const { return low <= value && value <= high; }
    constexpr std::int32_t Cut(std::int32_t value) const
    {
        return std::min(std::max(value, low), high);
    }
};

enum class Recorded {
    kFirst,        ///< before the device hears of it, whatever the device says then
    kWhenApplied,  ///< only when the device took it
};

/// A plain value: which one, what it may be, and when it is kept.
struct StoredValue {
    SettingsMember member = {};
    ValueRange range = {};
    Recorded recorded = Recorded::kFirst;
};

/// One property. Most are told by the columns; functions say what is special.
/// All of them run with m_video_ctrl_lock held.
struct PropertyRow {
    unsigned id;
    Access access;
    Needs needs;
    const char* text;  ///< log line of a set, which may show the value; or null
    StoredValue stored = {};
    /// Sends to the device; its result is the call's. Null: nothing is sent.
    bool (*apply)(const ControlContext& context, const CAM_PROP_VALUE& value) = nullptr;
    /// Answers GetProperty. Null: the stored value does.
    bool (*read)(const ControlContext& context, CAM_PROP_VALUE& value) = nullptr;
    /// Looks at a value that is in range, before it is recorded. Null: it is good.
    Verdict (*check)(const ControlContext& context, const CAM_PROP_VALUE& value) = nullptr;
};

/// One kind of properties, in the order of their ids.
struct PropertyGroup {
    const PropertyRow* first;
    std::size_t count;

    const PropertyRow* begin() const { return first; }
    const PropertyRow* end() const { return first + count; }
};

/// Whether a format can be printed with a property's value as its only argument.
constexpr bool PrintsOneNumberAtMost(const char* format)
{
    unsigned numbers = 0;
    for (; format != nullptr && *format != '\0'; ++format) {
        if (*format != '%')
            continue;
        ++format;
        if (*format != 'd')
            return false;
        ++numbers;
    }
    return numbers <= 1;
}

/// What the code that reads the tables relies on.
template <std::size_t Count>
constexpr bool IsConsistent(const PropertyRow (&rows)[Count])
{
    for (std::size_t i = 0; i < Count; ++i) {
        const PropertyRow& row = rows[i];
        const ValueRange& range = row.stored.range;
        if (i > 0 && rows[i - 1].id >= row.id)
            return false;
        if (!row.stored.member.IsInside())
            return false;
        if (row.access != Access::kSet && row.read == nullptr && !row.stored.member.Exists())
            return false;
        if (range.outside != Outside::kCut && range.complaint == nullptr)
            return false;
        if (!PrintsOneNumberAtMost(row.text) || !PrintsOneNumberAtMost(range.complaint))
            return false;
    }
    return true;
}

template <std::size_t Count>
constexpr PropertyGroup GroupOf(const PropertyRow (&rows)[Count])
{
    return {rows, Count};
}

#endif
