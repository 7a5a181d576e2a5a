// An H.264 encoder as seen from outside: it plays prepared clips, starts over
// at a key picture when asked, and numbers its pictures.
#ifndef VIRTUAL_CAMERA_MODEL_ENCODER_H
#define VIRTUAL_CAMERA_MODEL_ENCODER_H

#include <cstddef>
#include <cstdint>

#include "virtual_camera/model/media.h"

namespace vcam {

struct CodedPicture {
    const std::uint8_t* data;
    std::size_t size;
    std::uint64_t digest;
    std::uint32_t number;
    bool key;
    unsigned width, height;
};

class Encoder
{
public:
    Encoder(const Media& media, unsigned fps, unsigned kbps)
        : m_media(&media), m_fps(fps), m_kbps(kbps)
    {
    }

    /// Begins a stream: the next picture is a key picture with this number.
    void Start(unsigned width, unsigned height, std::uint32_t number);
    void SetFrameRate(unsigned fps);
    void SetBitRate(unsigned kbps);
    void RequestKey() { m_key_wanted = true; }
    CodedPicture Next();

    unsigned FrameRate() const { return m_fps; }
    unsigned BitRate() const { return m_kbps; }

private:
    void ChooseClip();
    void JumpToKey();

    const Media* m_media;
    const Clip* m_clip = nullptr;
    unsigned m_width = 0, m_height = 0, m_fps, m_kbps;
    std::size_t m_position = 0;  ///< of the next picture in the clip
    std::size_t m_last_key = 1;  ///< ordinal of the last key picture sent
    std::uint32_t m_number = 0;
    bool m_key_wanted = false;
};

}  // namespace vcam

#endif
