// The prepared pictures and sounds that the camera plays.
#ifndef VIRTUAL_CAMERA_MODEL_MEDIA_H
#define VIRTUAL_CAMERA_MODEL_MEDIA_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "virtual_camera/model/bytes.h"

namespace vcam {

/// One coded picture of a clip, parameter sets included.
struct ClipFrame {
    std::size_t offset;
    std::size_t size;
    std::uint64_t digest;
    bool key;
};

struct Clip {
    unsigned width, height, fps, kbps;
    Bytes data;
    std::vector<ClipFrame> frames;
    std::vector<std::size_t> keys;  ///< indexes of the key frames
};

struct Still {
    unsigned width, height;
    Bytes data;
    std::uint64_t digest;
};

/// Planar 4:2:0.
struct Picture {
    unsigned width = 0, height = 0;
    Bytes data;
};

/// Mono, 16 bit.
struct Sound {
    unsigned rate = 0;
    std::vector<std::int16_t> samples;
};

/// Everything in one media folder. Immutable once loaded, so cameras share it.
class Media
{
public:
    /// Loads a folder, once per process. Throws std::runtime_error with a
    /// readable message.
    static std::shared_ptr<const Media> Load(const std::string& folder);

    /// The clip closest to the wish: size first, then frame rate, then bit rate.
    const Clip& BestClip(unsigned width, unsigned height, unsigned fps, unsigned kbps) const;
    /// The nth still of the size closest to the wish; n wraps.
    const Still& BestStill(unsigned width, std::size_t n) const;
    const Picture& RawPicture() const { return m_picture; }
    const Sound& Speech() const { return m_speech; }
    const std::vector<Clip>& Clips() const { return m_clips; }

private:
    explicit Media(const std::string& folder);

    std::vector<Clip> m_clips;
    std::vector<Still> m_stills;
    Picture m_picture;
    Sound m_speech;
};

/// Cuts an Annex B stream (H.264, annex B) into pictures. Every NAL unit must
/// have a four-byte start code, and every picture one slice.
std::vector<ClipFrame> SplitPictures(const Bytes& stream);
/// The samples of a mono 16-bit RIFF/WAVE file. Throws std::runtime_error.
Sound ParseWave(const Bytes& file);

}  // namespace vcam

#endif
