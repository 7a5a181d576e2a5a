// Index of one multiplexed frame.
#ifndef TORVIK_VIDEO_CONTAINER_SAMPLE_H
#define TORVIK_VIDEO_CONTAINER_SAMPLE_H

#include <cstdint>

/// One elementary stream's part of a frame. It points into the frame; a size
/// of 0 means absent.
struct StreamSection {
    unsigned char* data;
    std::uint32_t size;
    std::uint16_t first_dimension;
    std::uint16_t second_dimension;
};

struct H264Section : StreamSection {
    std::uint32_t frame_number;  ///< the encoder's running number; 0 restarts the sequence
    std::uint32_t extra;
};

struct CroppedSection : StreamSection {
    std::uint32_t crop_flag;
};

struct KelH264_MediaSample {
    H264Section main;
    StreamSection jpeg;
    CroppedSection gray;
    StreamSection yuy2;
    StreamSection nv12;
    StreamSection nv21;
    std::uint32_t nv12_crop_flag;
    H264Section sub;
};

#endif
