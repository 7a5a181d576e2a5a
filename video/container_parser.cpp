#include "video/container_parser.h"

#include <algorithm>
#include <cstring>

#include "runtime/byte_order.h"
#include "runtime/debug_log.h"

namespace {

constexpr std::uint64_t kHeaderSize = 32;
/// The header's own length field counts the bytes behind this offset.
constexpr std::uint64_t kRemainderBase = 4;

struct SectionHeader {
    std::uint16_t remainder;
    std::uint16_t stream_type;
    std::uint16_t first_dimension;
    std::uint16_t second_dimension;
    std::uint16_t crop_flag;
    std::uint32_t frame_number;
    std::uint32_t extra;
    std::uint32_t payload_size;
    std::uint32_t reserved_size;  ///< of the data area
};

SectionHeader ReadHeader(const unsigned char* bytes)
{
    SectionHeader header;
    header.remainder = ReadLe16(bytes + 2);
    header.stream_type = ReadLe16(bytes + 4);
    header.first_dimension = ReadLe16(bytes + 6);
    header.second_dimension = ReadLe16(bytes + 8);
    header.crop_flag = ReadLe16(bytes + 10);
    header.frame_number = ReadLe32(bytes + 12);
    header.extra = ReadLe32(bytes + 16);
    header.payload_size = ReadLe32(bytes + 24);
    header.reserved_size = ReadLe32(bytes + 28);
    return header;
}

void FillH264(H264Section& section, const SectionHeader& header)
{
    section.frame_number = header.frame_number;
    section.extra = header.extra;
}

/// A stream's format id, its place in the sample and the fields it has beside
/// the common ones.
struct StreamFormat {
    std::uint16_t id;
    StreamSection& (*section)(KelH264_MediaSample& sample);
    void (*fill)(KelH264_MediaSample& sample, const SectionHeader& header);
};

constexpr StreamFormat kStreamFormats[] = {
    {41, [](KelH264_MediaSample& s) -> StreamSection& { return s.yuy2; }, nullptr},
    {42, [](KelH264_MediaSample& s) -> StreamSection& { return s.nv12; },
     [](KelH264_MediaSample& s, const SectionHeader& h) { s.nv12_crop_flag = h.crop_flag; }},
    {43, [](KelH264_MediaSample& s) -> StreamSection& { return s.main; },
     [](KelH264_MediaSample& s, const SectionHeader& h) { FillH264(s.main, h); }},
    {44, [](KelH264_MediaSample& s) -> StreamSection& { return s.jpeg; }, nullptr},
    {45, [](KelH264_MediaSample& s) -> StreamSection& { return s.gray; },
     [](KelH264_MediaSample& s, const SectionHeader& h) { s.gray.crop_flag = h.crop_flag; }},
    {47, [](KelH264_MediaSample& s) -> StreamSection& { return s.nv21; }, nullptr},
    {53, [](KelH264_MediaSample& s) -> StreamSection& { return s.sub; },
     [](KelH264_MediaSample& s, const SectionHeader& h) { FillH264(s.sub, h); }},
};

const StreamFormat* FindFormat(std::uint16_t id)
{
    for (const StreamFormat& format : kStreamFormats) {
        if (format.id == id)
            return &format;
    }
    return nullptr;
}

/// Indexes one section whose data starts at `data_start`; all offsets are
/// 64 bits wide, so that no size from the device can wrap them.
void IndexSection(unsigned char* frame, std::uint64_t frame_size, std::uint64_t data_start,
                  const SectionHeader& header, KelH264_MediaSample& sample)
{
    const StreamFormat* const format = FindFormat(header.stream_type);
    if (format == nullptr) {
        CAM_LOG_AS("H264Parser_kvr_mode", kLogDebugging, "Unknown Format ID %d \r\n",
                   header.stream_type);
        return;
    }
    if (data_start > frame_size)
        return;

    const std::uint64_t room = frame_size - data_start;
    StreamSection& section = format->section(sample);
    section.data = frame + data_start;
    section.size = static_cast<std::uint32_t>(std::min<std::uint64_t>(header.payload_size, room));
    section.first_dimension = header.first_dimension;
    section.second_dimension = header.second_dimension;
    if (format->fill != nullptr)
        format->fill(sample, header);

    const std::uint64_t padding_end = std::min<std::uint64_t>(header.reserved_size, room);
    if (header.payload_size < padding_end) {
        std::memset(section.data + header.payload_size, 0,
                    static_cast<std::size_t>(padding_end - header.payload_size));
    }
}

}  // namespace

unsigned int H264Parser_kvr_mode(unsigned char* frame, unsigned int frameSize,
                                 KelH264_MediaSample* sample)
{
    *sample = {};
    if (frameSize == 0)
        return 0;

    // A header is read only when at least one byte of data follows it.
    std::uint64_t offset = 0;
    do {
        if (offset + kHeaderSize >= frameSize) {
            CAM_LOG(kLogDebugging, "Parser Error, offset >= frame_size \r\n");
            return 0;
        }
        const SectionHeader header = ReadHeader(frame + offset);
        // The header's own bytes are not part of this test.
        if (offset + header.reserved_size > frameSize) {
            CAM_LOG(kLogDebugging,
                    "Parser Error, offset+h->dwPlayloadSize > frame_size , Stream Type = "
                    "0x%X,offse+h->dwPlayloadSize=%d\r\n",
                    header.stream_type, static_cast<int>(header.reserved_size));
            return 0;
        }
        const std::uint64_t data_start = offset + kRemainderBase + header.remainder;
        IndexSection(frame, frameSize, data_start, header, *sample);
        offset = data_start + header.reserved_size;
    } while (offset < frameSize);
    return 0;
}

void ShowKelH264_MediaSample(KelH264_MediaSample* sample)
{
    CAM_LOG(kLogDebugging, "h264_size=%d, mjpg_size=%d, gray_size=%d, yuy2_size=%d,num=%d\r\n",
            static_cast<int>(sample->main.size), static_cast<int>(sample->jpeg.size),
            static_cast<int>(sample->gray.size), static_cast<int>(sample->yuy2.size),
            static_cast<int>(sample->main.frame_number));
}
