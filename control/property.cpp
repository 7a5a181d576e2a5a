#include "control/property.h"

std::int32_t SettingsMember::Get(const CameraSettings& settings) const
{
    if (m_word != nullptr)
        return static_cast<std::int32_t>(settings.*m_word);
    if (m_byte != nullptr)
        return settings.*m_byte;
    return m_recorded != nullptr ? (settings.*m_recorded)[m_id] : 0;
}

void SettingsMember::Set(CameraSettings& settings, std::int32_t value) const
{
    if (m_word != nullptr)
        settings.*m_word = static_cast<std::uint32_t>(value);
    else if (m_byte != nullptr)
        settings.*m_byte = static_cast<std::uint8_t>(value);
    else if (m_recorded != nullptr)
        (settings.*m_recorded)[m_id] = value;
}
