// The multiplexed container.
#include "tests/video/container_fixture.h"

namespace {

TEST_F(ContainerParser, EmptyFrameIsSilent)
{
    Parse({});
    ExpectNothingFound();
    ExpectLines({});
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
