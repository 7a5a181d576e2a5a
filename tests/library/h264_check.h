// Whether a decoder is content with a sequence of pictures.
#ifndef TESTS_LIBRARY_H264_CHECK_H
#define TESTS_LIBRARY_H264_CHECK_H

#include <string>
#include <vector>

namespace library_test {

struct DecodeResult {
    std::size_t pictures = 0;
    std::vector<std::string> errors;  ///< the decoder's, and damaged pictures
};

/// Decodes access units with libavcodec at its strictest.
DecodeResult DecodeH264(const std::vector<std::vector<unsigned char>>& units);

}  // namespace library_test

#endif
