// The microphone: speech at the chosen rate, through mute and volume, cut into
// the packets of one millisecond each.
#ifndef VIRTUAL_CAMERA_MODEL_MICROPHONE_H
#define VIRTUAL_CAMERA_MODEL_MICROPHONE_H

#include <cstddef>
#include <cstdint>

#include "virtual_camera/model/media.h"

namespace vcam {

class Microphone
{
public:
    static constexpr unsigned kDefaultRate = 24000;
    static constexpr std::size_t kMaxPacket = 192;  ///< 48 kHz, stereo, 16 bit

    explicit Microphone(const Sound& sound) : m_sound(sound) {}

    static bool SupportsRate(unsigned rate);
    void SetRate(unsigned rate) { m_rate = rate; }
    unsigned Rate() const { return m_rate; }
    /// Volume in 1/256 dB (UAC 1.0, 5.2.2.4.3.2).
    void SetVolume(std::int16_t volume, bool mute);

    void Start() { m_position = 0; }
    /// Writes one packet of stereo samples and gives its length.
    std::size_t NextPacket(std::uint8_t* to, std::size_t capacity);

private:
    std::int16_t Sample(std::uint64_t position) const;

    const Sound& m_sound;
    unsigned m_rate = kDefaultRate;
    std::int32_t m_gain = 1 << 15;
    std::uint64_t m_position = 0;  ///< in samples of the chosen rate
};

}  // namespace vcam

#endif
