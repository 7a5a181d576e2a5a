// Width and height of a raw image, which its record does not carry.
#ifndef TORVIK_HOST_RAW_GEOMETRY_H
#define TORVIK_HOST_RAW_GEOMETRY_H

#include <cstddef>

#include "api/cam_types.h"

namespace host {

struct PictureSize {
    int width = 0;
    int height = 0;
};

/// The camera's picture size whose image has exactly this many bytes in the
/// stream's pixel format. `preferred` wins when it fits; 0 x 0 when none does.
PictureSize RawPictureSize(CAM_STREAM stream, std::size_t bytes, PictureSize preferred);

}  // namespace host

#endif
