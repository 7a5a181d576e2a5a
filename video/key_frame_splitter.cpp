#include "video/key_frame_splitter.h"

#include <cstring>

namespace {

constexpr unsigned char kPictureParameterSet[] = {0x00, 0x00, 0x00, 0x01, 0x68};
/// The camera's picture parameter set is a start code and four bytes.
constexpr std::int32_t kPictureParameterSetSize = 8;

}  // namespace

int ParseH264KeyFrame(unsigned char* data, int size, H264KeyFrame* out)
{
    *out = {};
    for (int i = 0; i < size; ++i) {
        if (std::memcmp(data + i, kPictureParameterSet, sizeof kPictureParameterSet) != 0)
            continue;
        if (i == 0)
            return 0;
        out->parameter_set_size = i;
        out->picture_parameter_set_offset = i;
        out->picture_parameter_set_size = kPictureParameterSetSize;
        out->picture_offset = i + kPictureParameterSetSize;
        out->picture_size = size - i - kPictureParameterSetSize;
        return 1;
    }
    return 0;
}
