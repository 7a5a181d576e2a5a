// A steady beat whose rate may change without a jump.
#ifndef VIRTUAL_CAMERA_MODEL_CADENCE_H
#define VIRTUAL_CAMERA_MODEL_CADENCE_H

#include <cstdint>

#include "virtual_camera/usb_device.h"

namespace vcam {

class Cadence
{
public:
    void Start(TimeUs first, unsigned per_second)
    {
        m_anchor = first;
        m_beats = 0;
        m_per_second = per_second ? per_second : 1;
    }
    void SetRate(unsigned per_second)
    {
        if (per_second != m_per_second)
            Start(Due(), per_second);
    }
    TimeUs Due() const { return m_anchor + m_beats * 1000000 / m_per_second; }
    void Advance() { ++m_beats; }

private:
    TimeUs m_anchor = 0;
    std::uint64_t m_beats = 0;
    unsigned m_per_second = 1;
};

}  // namespace vcam

#endif
