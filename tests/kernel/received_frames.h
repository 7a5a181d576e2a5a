// What arrived, compared with what the camera sent.
#ifndef TESTS_KERNEL_RECEIVED_FRAMES_H
#define TESTS_KERNEL_RECEIVED_FRAMES_H

#include <cstdint>
#include <string>
#include <vector>

#include "tests/kernel/camera_client.h"
#include "tests/support/frame_collector.h"

namespace kernel_test
{

struct ReceivedFrame {
    std::size_t size = 0;
    std::uint64_t digest = 0;
};

/// The frames of a collector that keeps the data: pieces with one stamp are
/// one frame, the closing empty record of a raw stream is none.
std::vector<ReceivedFrame> Whole(const test_support::FrameCollector& collector, CAM_STREAM stream);

/// The frames of one stream in a list that camhost wrote.
std::vector<ReceivedFrame> ReadFrameList(const std::string& path, const std::string& stream);

struct Comparison {
    bool equal = false;      ///< what arrived is what was sent, without a gap
    std::size_t unsent = 0;  ///< received and not found
    std::size_t lost = 0;    ///< sent before the last one received, and not received
    std::size_t late = 0;    ///< sent after the last one received
    std::uint64_t digest_received = 0;
    std::uint64_t digest_sent = 0;  ///< of the same number of frames
};

/// A stop leaves what is on the way behind: frames sent after the last one
/// received count apart.
Comparison Compare(const std::vector<ReceivedFrame>& received,
                   const std::vector<vcam::SentFrame>& sent);

}  // namespace kernel_test

#endif
