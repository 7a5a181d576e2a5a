// Containers and key frames, at every alignment, in memory that ends where a
// frame buffer's would.
//
// input: alignment, frame
#include <memory>

#include "fuzz/bytes.h"
#include "fuzz/check.h"
#include "fuzz/target.h"
#include "runtime/debug_log.h"
#include "video/container_parser.h"
#include "video/frame_buffer.h"
#include "video/frame_loss_detector.h"
#include "video/key_frame_splitter.h"

namespace {

/// As long as the data and a frame buffer's slack, starting where asked.
class Frame {
public:
    Frame(const std::uint8_t* data, std::size_t size, std::size_t offset)
        : m_memory(new std::uint8_t[offset + size + CFrameBuf::kSlack]()), m_offset(offset)
    {
        if (size != 0)
            std::memcpy(Data(), data, size);
    }
    std::uint8_t* Data() { return m_memory.get() + m_offset; }

private:
    std::unique_ptr<std::uint8_t[]> m_memory;
    std::size_t m_offset;
};

void SplitKeyFrame(const std::uint8_t* data, std::size_t size, std::size_t offset)
{
    Frame frame(data, size, offset);
    const int length = static_cast<int>(size);
    H264KeyFrame pieces;
    if (ParseH264KeyFrame(frame.Data(), length, &pieces) == 0)
        return;
    FUZZ_CHECK(pieces.parameter_set_offset == 0);
    FUZZ_CHECK(pieces.parameter_set_size > 0 && pieces.parameter_set_size < length);
    FUZZ_CHECK(pieces.picture_parameter_set_offset == pieces.parameter_set_size);
    // What starts in the frame may end in the slack.
    FUZZ_CHECK(frame.Data()[pieces.picture_parameter_set_offset + 4] == 0x68 ||
               pieces.picture_parameter_set_offset + 4 >= length);
    FUZZ_CHECK(pieces.picture_offset ==
               pieces.picture_parameter_set_offset + pieces.picture_parameter_set_size);
    FUZZ_CHECK(pieces.picture_offset + pieces.picture_size == length);
}

void CheckSection(const StreamSection& section, const std::uint8_t* frame, std::size_t size)
{
    if (section.size == 0)
        return;
    FUZZ_CHECK(section.data >= frame && section.data <= frame + size);
    FUZZ_CHECK(section.size <= static_cast<std::size_t>(frame + size - section.data));
    fuzz::ReadAll(section.data, section.size);
}

void CheckH264(const H264Section& section, const std::uint8_t* frame, std::size_t size,
               std::size_t offset)
{
    CheckSection(section, frame, size);
    if (section.size == 0)
        return;
    CH264_ErrorDetector detector;
    const unsigned verdict =
        detector.CheckFrame(section.data, section.size, section.frame_number);
    FUZZ_CHECK(verdict <= CH264_ErrorDetector::kDrop);
    SplitKeyFrame(section.data, section.size, offset);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    const std::uint8_t first = input.U8();
    g_embedded_cam_dbg_level = first & 0x80 ? 5 : 0;
    const std::size_t offset = first & 7U;

    const std::size_t length = input.Left();
    Frame frame(input.Data(), length, offset);
    KelH264_MediaSample sample;
    H264Parser_kvr_mode(frame.Data(), static_cast<unsigned>(length), &sample);
    CheckH264(sample.main, frame.Data(), length, offset);
    CheckH264(sample.sub, frame.Data(), length, offset);
    for (const StreamSection* const section :
         {&sample.jpeg, static_cast<StreamSection*>(&sample.gray), &sample.yuy2, &sample.nv12,
          &sample.nv21})
        CheckSection(*section, frame.Data(), length);
    ShowKelH264_MediaSample(&sample);

    SplitKeyFrame(input.Data(), length, offset);
    return 0;
}
