// Splitting an H.264 key frame into parameter sets and picture.
#ifndef TORVIK_VIDEO_KEY_FRAME_SPLITTER_H
#define TORVIK_VIDEO_KEY_FRAME_SPLITTER_H

#include <cstdint>

/// Pieces of a key frame, offsets from its start, in bytes. A size may be 0 or
/// negative and a piece may run past the frame when the frame is malformed.
struct H264KeyFrame {
    std::int32_t parameter_set_offset;
    std::int32_t parameter_set_size;
    std::int32_t picture_parameter_set_offset;
    std::int32_t picture_parameter_set_size;
    std::int32_t picture_offset;
    std::int32_t picture_size;
};

/// Finds the picture parameter set (H.264, 7.4.1: NAL unit type 8, nal_ref_idc
/// 3) behind its start code. 1 when the frame could be split, else 0. `data`
/// must be readable 4 bytes past `size`.
int ParseH264KeyFrame(unsigned char* data, int size, H264KeyFrame* out);

#endif
