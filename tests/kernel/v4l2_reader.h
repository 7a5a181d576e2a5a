// Captures pictures through a kernel's video device.
#ifndef TESTS_KERNEL_V4L2_READER_H
#define TESTS_KERNEL_V4L2_READER_H

#include <cstdint>
#include <string>
#include <vector>

namespace kernel_test
{

struct CapturedPicture {
    std::size_t size;
    std::uint64_t digest;
    std::uint32_t sequence;  ///< the driver's count, which has a gap where it dropped one
    bool damaged;
};

/// `count` pictures of one format, as the driver hands them out. Notes a
/// failure, and gives fewer, when it refuses or takes longer than a minute.
std::vector<CapturedPicture> CapturePictures(const std::string& device, std::uint32_t pixel_format,
                                             unsigned width, unsigned height, std::size_t count);

/// Formats that the driver offers, as four letters each.
std::vector<std::string> ListFormats(const std::string& device);

}  // namespace kernel_test

#endif
