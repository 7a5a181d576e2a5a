// Captures sound through a kernel's sound device.
#ifndef TESTS_KERNEL_PCM_READER_H
#define TESTS_KERNEL_PCM_READER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kernel_test
{

/// `frames` stereo 16-bit samples at `rate`, as bytes. Notes a failure, and
/// gives fewer, when the driver refuses or overruns.
std::vector<std::uint8_t> CapturePcm(const std::string& device, unsigned rate, std::size_t frames);

}  // namespace kernel_test

#endif
