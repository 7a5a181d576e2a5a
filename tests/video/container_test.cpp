// The multiplexed container.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/log_level.h"
#include "tests/video/container_builder.h"
#include "video/container_parser.h"

namespace {

constexpr char kOffsetLine[] = "Parser Error, offset >= frame_size \r\n";

std::string SizeLine(unsigned type, int reserved)
{
    char text[160];
    std::snprintf(text, sizeof text,
                  "Parser Error, offset+h->dwPlayloadSize > frame_size , Stream Type = "
                  "0x%X,offse+h->dwPlayloadSize=%d\r\n",
                  type, reserved);
    return text;
}

/// Offset of the data of a section that starts at `section`.
constexpr std::size_t kData = 32;

class ContainerParser : public testing::Test {
protected:
    /// Parses exactly these bytes: memory checkers see every step outside.
    void Parse(const Bytes& bytes)
    {
        m_frame = std::make_unique<unsigned char[]>(bytes.size());
        if (!bytes.empty())
            std::memcpy(m_frame.get(), bytes.data(), bytes.size());
        m_size = bytes.size();
        std::memset(static_cast<void*>(&m_sample), 0xAB, sizeof m_sample);
        EXPECT_EQ(H264Parser_kvr_mode(m_frame.get(), static_cast<unsigned>(m_size), &m_sample), 0u);
    }
    void ExpectNothingFound() const
    {
        const KelH264_MediaSample empty = {};
        EXPECT_EQ(m_sample.main.data, empty.main.data);
        for (const StreamSection* const section : Sections()) {
            EXPECT_EQ(section->data, nullptr);
            EXPECT_EQ(section->size, 0u);
        }
    }
    std::vector<const StreamSection*> Sections() const
    {
        return {&m_sample.main, &m_sample.jpeg, &m_sample.gray, &m_sample.yuy2,
                &m_sample.nv12, &m_sample.nv21, &m_sample.sub};
    }
    std::size_t OffsetOf(const StreamSection& section) const
    {
        return static_cast<std::size_t>(section.data - m_frame.get());
    }
    void ExpectLines(const std::vector<std::string>& messages) const
    {
        EXPECT_EQ(m_log.MessagesOf("H264Parser_kvr_mode"), messages);
        for (const test_support::LogEntry& entry : m_log.Entries())
            EXPECT_EQ(entry.level, 4);
    }

    test_support::CapturedLog m_log;
    std::unique_ptr<unsigned char[]> m_frame;
    std::size_t m_size = 0;
    KelH264_MediaSample m_sample{};
};

TEST_F(ContainerParser, EmptyFrameIsSilent)
{
    Parse({});
    ExpectNothingFound();
    ExpectLines({});
}

TEST_F(ContainerParser, FrameOfUpTo32BytesHasNoSection)
{
    for (const std::size_t size : {1u, 31u, 32u}) {
        m_log.Clear();
        Parse(Bytes(size, 0));
        ExpectNothingFound();
        ExpectLines({kOffsetLine});
    }
}

TEST_F(ContainerParser, OneSectionThatEndsWithTheFrameIsSilent)
{
    Parse(Container({{kJpeg, Bytes(50, 7)}}));
    EXPECT_EQ(OffsetOf(m_sample.jpeg), kData);
    EXPECT_EQ(m_sample.jpeg.size, 50u);
    ExpectLines({});
}

TEST_F(ContainerParser, SmallestFrameHasOneByteOfData)
{
    Parse(Container({{kJpeg, Bytes(1, 7)}}));
    EXPECT_EQ(m_sample.jpeg.size, 1u);
    ExpectLines({});
}

TEST_F(ContainerParser, H264SectionsCarryNumberAndExtra)
{
    Section main{kMainH264, Bytes(10)};
    main.frame_number = 0x12345678;
    main.first_dimension = 1280;
    main.second_dimension = 720;
    main.extra = 0xCAFEBABE;
    main.crop_flag = 9;
    Section sub{kSubH264, Bytes(11)};
    sub.frame_number = 0x87654321;
    sub.first_dimension = 320;
    sub.second_dimension = 240;
    sub.extra = 5;
    Parse(Container({main, sub}));
    EXPECT_EQ(OffsetOf(m_sample.main), kData);
    EXPECT_EQ(m_sample.main.size, 10u);
    EXPECT_EQ(m_sample.main.frame_number, 0x12345678u);
    EXPECT_EQ(m_sample.main.first_dimension, 1280);
    EXPECT_EQ(m_sample.main.second_dimension, 720);
    EXPECT_EQ(m_sample.main.extra, 0xCAFEBABE);
    EXPECT_EQ(OffsetOf(m_sample.sub), 42 + kData);
    EXPECT_EQ(m_sample.sub.size, 11u);
    EXPECT_EQ(m_sample.sub.frame_number, 0x87654321u);
    EXPECT_EQ(m_sample.sub.first_dimension, 320);
    EXPECT_EQ(m_sample.sub.second_dimension, 240);
    EXPECT_EQ(m_sample.sub.extra, 5u);
}

struct ImageFormat {
    const char* name;
    std::uint16_t id;
    const StreamSection& (*section)(const KelH264_MediaSample&);
    std::uint32_t (*crop_flag)(const KelH264_MediaSample&);
};

class ImageSection : public ContainerParser, public testing::WithParamInterface<ImageFormat> {};

TEST_P(ImageSection, FillsItsPlaceAndNoOther)
{
    Section image{GetParam().id, Bytes(33, 1)};
    image.first_dimension = 0x1234;
    image.second_dimension = 0x5678;
    image.crop_flag = 0xBEEF;
    image.frame_number = 77;
    Parse(Container({image}));
    const StreamSection& section = GetParam().section(m_sample);
    EXPECT_EQ(OffsetOf(section), kData);
    EXPECT_EQ(section.size, 33u);
    EXPECT_EQ(section.first_dimension, 0x1234);
    EXPECT_EQ(section.second_dimension, 0x5678);
    if (GetParam().crop_flag != nullptr) {
        EXPECT_EQ(GetParam().crop_flag(m_sample), 0xBEEFu);
    }
    for (const StreamSection* const other : Sections()) {
        if (other != &section) {
            EXPECT_EQ(other->data, nullptr);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, ImageSection,
    testing::Values(
        ImageFormat{"Yuy2", 41,
                    [](const KelH264_MediaSample& s) -> const StreamSection& { return s.yuy2; },
                    nullptr},
        ImageFormat{"Nv12", 42,
                    [](const KelH264_MediaSample& s) -> const StreamSection& { return s.nv12; },
                    [](const KelH264_MediaSample& s) { return s.nv12_crop_flag; }},
        ImageFormat{"Jpeg", 44,
                    [](const KelH264_MediaSample& s) -> const StreamSection& { return s.jpeg; },
                    nullptr},
        ImageFormat{"Gray", 45,
                    [](const KelH264_MediaSample& s) -> const StreamSection& { return s.gray; },
                    [](const KelH264_MediaSample& s) { return s.gray.crop_flag; }},
        ImageFormat{"Nv21", 47,
                    [](const KelH264_MediaSample& s) -> const StreamSection& { return s.nv21; },
                    nullptr}),
    [](const auto& row) { return row.param.name; });

TEST_F(ContainerParser, UnknownFormatIsLoggedAndSkipped)
{
    for (const std::uint16_t id : {std::uint16_t{0}, std::uint16_t{40}, std::uint16_t{46},
                                   std::uint16_t{48}, std::uint16_t{0xFFFF}}) {
        m_log.Clear();
        Parse(Container({{id, Bytes(10)}, {kJpeg, Bytes(5)}}));
        EXPECT_EQ(m_sample.jpeg.size, 5u);
        ExpectLines({"Unknown Format ID " + std::to_string(id) + " \r\n"});
    }
}

TEST_F(ContainerParser, PaddingIsClearedAndTheNextHeaderReadBehindIt)
{
    Section padded{kMainH264, Bytes(1000, 0x11)};
    padded.reserved_size = 1024;
    Parse(Container({padded, {kJpeg, Bytes(5, 0x22)}}));
    EXPECT_EQ(m_sample.main.size, 1000u);
    for (std::size_t i = 0; i < 1024; ++i)
        ASSERT_EQ(m_frame[kData + i], i < 1000 ? 0x11 : 0) << i;
    EXPECT_EQ(OffsetOf(m_sample.jpeg), kData + 1024 + kData);
    EXPECT_EQ(m_sample.jpeg.data[0], 0x22);
    ExpectLines({});
}

TEST_F(ContainerParser, PaddingOfAnUnknownFormatIsLeftAsItIs)
{
    Section padded{99, Bytes(10, 0x11)};
    padded.reserved_size = 20;
    Parse(Container({padded}));
    EXPECT_EQ(m_frame[kData + 15], 0xEE);
}

TEST_F(ContainerParser, LongerHeaderMovesTheData)
{
    Section image{kGray, Bytes(10, 0x11)};
    image.remainder = 40;
    Parse(Container({image, {kJpeg, Bytes(5)}}));
    EXPECT_EQ(OffsetOf(m_sample.gray), 44u);
    EXPECT_EQ(m_sample.gray.data[0], 0x11);
    EXPECT_EQ(OffsetOf(m_sample.jpeg), 54 + kData);
}

TEST_F(ContainerParser, ShorterHeaderMovesTheDataToo)
{
    Section image{kGray, Bytes(40, 0x11)};
    image.remainder = 0;
    Parse(Container({image}));
    EXPECT_EQ(OffsetOf(m_sample.gray), 4u);
    EXPECT_EQ(m_sample.gray.size, 40u);
}

TEST_F(ContainerParser, LaterSectionOfAFormatWins)
{
    Parse(Container({{kJpeg, Bytes(10, 1)}, {kJpeg, Bytes(20, 2)}}));
    EXPECT_EQ(m_sample.jpeg.size, 20u);
    EXPECT_EQ(m_sample.jpeg.data[0], 2);
}

TEST_F(ContainerParser, LaterEmptySectionMakesTheStreamAbsent)
{
    Parse(Container({{kJpeg, Bytes(10, 1)}, {kJpeg, {}}, {kGray, Bytes(3)}}));
    EXPECT_EQ(m_sample.jpeg.size, 0u);
    EXPECT_EQ(m_sample.gray.size, 3u);
}

TEST_F(ContainerParser, ManySectionsAreAllFound)
{
    Parse(Container({{kMainH264, Bytes(11)}, {kSubH264, Bytes(12)}, {kJpeg, Bytes(13)},
                     {kGray, Bytes(14)}, {kNv12, Bytes(15)}, {kNv21, Bytes(16)},
                     {kYuy2, Bytes(17)}}));
    EXPECT_EQ(m_sample.main.size, 11u);
    EXPECT_EQ(m_sample.sub.size, 12u);
    EXPECT_EQ(m_sample.jpeg.size, 13u);
    EXPECT_EQ(m_sample.gray.size, 14u);
    EXPECT_EQ(m_sample.nv12.size, 15u);
    EXPECT_EQ(m_sample.nv21.size, 16u);
    EXPECT_EQ(m_sample.yuy2.size, 17u);
    ExpectLines({});
}

TEST_F(ContainerParser, UpTo32BytesBehindTheLastSectionAreLoggedAndTheSectionsKept)
{
    for (const std::size_t rest : {1u, 31u, 32u}) {
        m_log.Clear();
        Bytes bytes = Container({{kJpeg, Bytes(10)}});
        bytes.resize(bytes.size() + rest);
        Parse(bytes);
        EXPECT_EQ(m_sample.jpeg.size, 10u);
        ExpectLines({kOffsetLine});
    }
}

TEST_F(ContainerParser, FirstDataAreaLargerThanTheFrameIsRefused)
{
    Section section{kMainH264, Bytes(10)};
    section.reserved_size = 0x200000;
    Parse(Container({section}));
    ExpectNothingFound();
    ExpectLines({SizeLine(0x2B, 0x200000)});
}

TEST_F(ContainerParser, FirstHeaderIsNotCountedInTheSizeTest)
{
    // 50 bytes of which 32 are the header: a data area of 50 is let through.
    Section section{kGray, Bytes(18, 0x11)};
    section.payload_size = 50;
    section.reserved_size = 50;
    Bytes bytes = SectionBytes(section);
    bytes.resize(50);
    Parse(bytes);
    EXPECT_EQ(m_sample.gray.size, 18u);  // cut to the frame
    ExpectLines({});
}

TEST_F(ContainerParser, LaterDataAreaThatEndsBeyondTheFrameIsRefused)
{
    Section late{kSubH264, Bytes(10)};
    late.reserved_size = 53;
    Bytes bytes = Container({{kJpeg, Bytes(10)}});
    Bytes second = SectionBytes(late);
    second.resize(52);
    bytes.insert(bytes.end(), second.begin(), second.end());
    Parse(bytes);
    EXPECT_EQ(m_sample.jpeg.size, 10u);
    EXPECT_EQ(m_sample.sub.data, nullptr);
    ExpectLines({SizeLine(0x35, 53)});
}

TEST_F(ContainerParser, PayloadThatRunsPastTheFrameIsCut)
{
    Section section{kJpeg, Bytes(10)};
    section.payload_size = 0xFFFFFFFF;
    section.reserved_size = 10;
    Parse(Container({section}));
    EXPECT_EQ(m_sample.jpeg.size, 10u);
}

TEST_F(ContainerParser, PayloadAboveItsAreaClearsNothing)
{
    Section section{kJpeg, Bytes(10, 0x11)};
    section.payload_size = 200;
    section.reserved_size = 10;
    Parse(Container({section, {kGray, Bytes(60, 0x22)}}));
    EXPECT_EQ(m_frame[kData + 9], 0x11);
    EXPECT_EQ(m_sample.gray.data[0], 0x22);
    EXPECT_EQ(m_sample.jpeg.size, 102u);  // to the end of the frame
}

TEST_F(ContainerParser, DataThatStartsBeyondTheFrameIsAbsent)
{
    Section section{kJpeg, Bytes(10)};
    section.remainder = 0xFFFF;
    Bytes bytes = SectionBytes(section);
    bytes.resize(60);
    Parse(bytes);
    ExpectNothingFound();
    ExpectLines({});
}

TEST_F(ContainerParser, DataThatStartsAtTheEndOfTheFrameIsAbsent)
{
    Section section{kJpeg, Bytes(10)};
    section.remainder = 38;
    Bytes bytes = SectionBytes(section);
    bytes.resize(42);
    Parse(bytes);
    EXPECT_EQ(m_sample.jpeg.size, 0u);
}

TEST_F(ContainerParser, PaddingIsClearedInsideTheFrameOnly)
{
    Section section{kJpeg, Bytes(2, 0x11)};
    section.payload_size = 2;
    section.reserved_size = 40;
    Bytes bytes = SectionBytes(section);
    bytes.resize(40, 0xEE);
    Parse(bytes);
    EXPECT_EQ(m_sample.jpeg.size, 2u);
    EXPECT_EQ(m_frame[39], 0);
}

TEST_F(ContainerParser, OffsetsDoNotWrapAt32Bits)
{
    Section first{kJpeg, Bytes(10)};
    Section second{kGray, Bytes(10)};
    second.reserved_size = 0xFFFFFFF0;
    Parse(Container({first, second}));
    EXPECT_EQ(m_sample.jpeg.size, 10u);
    EXPECT_EQ(m_sample.gray.data, nullptr);
    ExpectLines({SizeLine(0x2D, -16)});
}

TEST_F(ContainerParser, EmptySectionsEndEventually)
{
    Section empty{99, {}};
    empty.remainder = 0;  // the next header begins four bytes on
    Bytes bytes = SectionBytes(empty);
    bytes.resize(40, 0);
    Parse(bytes);
    ExpectNothingFound();
    ExpectLines({"Unknown Format ID 99 \r\n", "Unknown Format ID 0 \r\n", kOffsetLine});
}

TEST_F(ContainerParser, ShowLogsTheSizes)
{
    Section main{kMainH264, Bytes(11)};
    main.frame_number = 4711;
    Parse(Container({main, {kJpeg, Bytes(12)}, {kGray, Bytes(13)}, {kYuy2, Bytes(14)}}));
    ShowKelH264_MediaSample(&m_sample);
    const auto line = m_log.Find("h264_size");
    ASSERT_TRUE(line.has_value());
    EXPECT_EQ(line->message,
              "h264_size=11, mjpg_size=12, gray_size=13, yuy2_size=14,num=4711\r\n");
    EXPECT_EQ(line->level, 4);
    EXPECT_EQ(line->function, "ShowKelH264_MediaSample");
}

}  // namespace
