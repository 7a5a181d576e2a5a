// Raw pictures cut out of one large picture, the window wandering about.
#ifndef VIRTUAL_CAMERA_MODEL_RAW_PICTURE_H
#define VIRTUAL_CAMERA_MODEL_RAW_PICTURE_H

#include <cstddef>
#include <cstdint>

#include "virtual_camera/model/media.h"

namespace vcam {

enum class RawFormat { kGray, kNv12, kNv21, kYuy2 };

struct RawSize {
    unsigned width, height;
};

/// GRAY comes at a quarter of the others' size, as it feeds picture analysis.
RawSize RawPictureSize(RawFormat format);
std::size_t RawPictureBytes(RawFormat format);
/// Writes RawPictureBytes(format) bytes: the nth picture.
void DrawRawPicture(const Picture& source, RawFormat format, std::uint64_t n, std::uint8_t* to);

}  // namespace vcam

#endif
