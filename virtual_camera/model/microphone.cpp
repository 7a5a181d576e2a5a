#include "virtual_camera/model/microphone.h"

#include <algorithm>
#include <cmath>

#include "virtual_camera/model/bytes.h"

namespace vcam {

bool Microphone::SupportsRate(unsigned rate)
{
    return rate == 8000 || rate == 16000 || rate == 24000 || rate == 32000 || rate == 48000;
}

void Microphone::SetVolume(std::int16_t volume, bool mute)
{
    m_gain = mute ? 0
                  : static_cast<std::int32_t>(
                        std::lround(32768.0 * std::pow(10.0, volume / 256.0 / 20.0)));
}

std::int16_t Microphone::Sample(std::uint64_t position) const
{
    const std::uint64_t scaled = position * m_sound.rate;
    const std::size_t count = m_sound.samples.size();
    const auto index = static_cast<std::size_t>(scaled / m_rate % count);
    const auto fraction = static_cast<std::int64_t>(scaled % m_rate);
    const std::int64_t here = m_sound.samples[index];
    const std::int64_t next = m_sound.samples[(index + 1) % count];
    const std::int64_t value = here + (next - here) * fraction / static_cast<std::int64_t>(m_rate);
    const std::int64_t louder = value * m_gain / 32768;
    return static_cast<std::int16_t>(std::clamp<std::int64_t>(louder, -32768, 32767));
}

std::size_t Microphone::NextPacket(std::uint8_t* to, std::size_t capacity)
{
    const std::size_t frames = std::min(std::size_t{m_rate / 1000}, capacity / 4);
    for (std::size_t i = 0; i < frames; ++i, to += 4) {
        const auto sample = static_cast<std::uint16_t>(Sample(m_position++));
        StoreLe(to, sample, 2);
        StoreLe(to + 2, sample, 2);
    }
    return frames * 4;
}

}  // namespace vcam
