#include "virtual_camera/model/encoder.h"

#include <algorithm>

namespace vcam {

void Encoder::Start(unsigned width, unsigned height, std::uint32_t number)
{
    m_width = width;
    m_height = height;
    m_number = number;
    m_position = 0;
    m_last_key = 1;
    m_key_wanted = false;
    m_clip = &m_media->BestClip(m_width, m_height, m_fps, m_kbps);
}

void Encoder::SetFrameRate(unsigned fps)
{
    m_fps = std::clamp(fps, 1U, 60U);
    ChooseClip();
}

void Encoder::SetBitRate(unsigned kbps)
{
    m_kbps = kbps;
    ChooseClip();
}

void Encoder::ChooseClip()
{
    if (!m_clip)
        return;
    const Clip* best = &m_media->BestClip(m_width, m_height, m_fps, m_kbps);
    if (best == m_clip)
        return;
    // The same moment in the other clip, which shows the same scene.
    m_position = m_position * best->frames.size() / m_clip->frames.size();
    m_clip = best;
    m_key_wanted = true;
}

void Encoder::JumpToKey()
{
    // Two key pictures in a row must differ in idr_pic_id (H.264, 7.4.3), which
    // alternates along a clip; so an odd ordinal follows an even one.
    const auto& keys = m_clip->keys;
    auto key = static_cast<std::size_t>(std::lower_bound(keys.begin(), keys.end(), m_position) -
                                        keys.begin());
    if (key % 2 == m_last_key % 2)
        ++key;
    m_position = keys[key % keys.size()];
}

CodedPicture Encoder::Next()
{
    if (m_key_wanted)
        JumpToKey();
    if (m_position >= m_clip->frames.size())
        m_position = 0;
    const ClipFrame& frame = m_clip->frames[m_position];
    if (frame.key) {
        m_key_wanted = false;
        m_last_key = static_cast<std::size_t>(
            std::lower_bound(m_clip->keys.begin(), m_clip->keys.end(), m_position) -
            m_clip->keys.begin());
    }
    ++m_position;
    return {m_clip->data.data() + frame.offset,
            frame.size,
            frame.digest,
            m_number++,
            frame.key,
            m_clip->width,
            m_clip->height};
}

}  // namespace vcam
