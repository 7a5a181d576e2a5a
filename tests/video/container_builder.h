// Builds the multiplexed containers that the camera sends.
#ifndef TESTS_VIDEO_CONTAINER_BUILDER_H
#define TESTS_VIDEO_CONTAINER_BUILDER_H

#include <cstdint>
#include <optional>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// Format ids of sections.
enum FormatId : std::uint16_t {
    kYuy2 = 41,
    kNv12 = 42,
    kMainH264 = 43,
    kJpeg = 44,
    kGray = 45,
    kNv21 = 47,
    kSubH264 = 53,
};

struct Section {
    std::uint16_t type = kMainH264;
    Bytes data = {};
    std::uint32_t frame_number = 0;
    std::uint16_t first_dimension = 0;
    std::uint16_t second_dimension = 0;
    std::uint16_t crop_flag = 0;
    std::uint32_t extra = 0;
    std::uint16_t remainder = 28;  ///< header bytes behind the length field
    std::optional<std::uint32_t> payload_size = std::nullopt;  ///< absent: the data's size
    std::optional<std::uint32_t> reserved_size = std::nullopt;  ///< absent: the payload's size
};

/// One section: its header, its data and what fills the data area up, 0xEE.
Bytes SectionBytes(const Section& section);
/// Sections back to back.
Bytes Container(const std::vector<Section>& sections);

/// An H.264 byte stream of `size` bytes that begins with this NAL header.
Bytes H264(std::uint8_t nal_header, std::size_t size = 12);
constexpr std::uint8_t kPredicted = 0x41;
constexpr std::uint8_t kIntra = 0x65;
/// A key frame: parameter set of 20 bytes, picture parameter set of 8, picture.
Bytes KeyFrame(std::size_t size = 100);

#endif
