// Wire formats lie at any address. Under the undefined-behaviour sanitizer a
// word that is read across its alignment fails here; on ARM it may trap.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "devcmd/camera_terminal.h"
#include "runtime/byte_order.h"
#include "tests/support/log_level.h"
#include "tests/video/container_builder.h"
#include "video/container_parser.h"
#include "video/key_frame_splitter.h"

namespace {

class OddAddress : public testing::TestWithParam<std::size_t> {
protected:
    /// These bytes behind as many others as the parameter says, in memory that
    /// ends with them.
    unsigned char* Place(const Bytes& bytes)
    {
        m_memory = std::make_unique<unsigned char[]>(GetParam() + bytes.size());
        std::memcpy(m_memory.get() + GetParam(), bytes.data(), bytes.size());
        return m_memory.get() + GetParam();
    }

private:
    std::unique_ptr<unsigned char[]> m_memory;
};

TEST_P(OddAddress, ContainerIsIndexed)
{
    test_support::CapturedLog log;
    Section main{kMainH264, Bytes(13, 1)};
    main.frame_number = 0x87654321;
    main.first_dimension = 0x8123;
    main.second_dimension = 0xFEDC;
    main.extra = 0xCAFEBABE;
    Section gray{kGray, Bytes(7, 0xFF)};
    gray.crop_flag = 0x8001;
    const Bytes bytes = Container({main, gray, {kJpeg, Bytes(5, 0x80)}});
    unsigned char* const frame = Place(bytes);
    KelH264_MediaSample sample{};
    ASSERT_EQ(H264Parser_kvr_mode(frame, static_cast<unsigned>(bytes.size()), &sample), 0u);
    EXPECT_EQ(sample.main.data, frame + 32);
    EXPECT_EQ(sample.main.size, 13u);
    EXPECT_EQ(sample.main.frame_number, 0x87654321u);
    EXPECT_EQ(sample.main.first_dimension, 0x8123);
    EXPECT_EQ(sample.main.second_dimension, 0xFEDC);
    EXPECT_EQ(sample.main.extra, 0xCAFEBABEu);
    EXPECT_EQ(sample.gray.data, frame + 32 + 13 + 32);
    EXPECT_EQ(sample.gray.crop_flag, 0x8001u);
    EXPECT_EQ(sample.jpeg.size, 5u);
    EXPECT_TRUE(log.Entries().empty());
}

TEST_P(OddAddress, KeyFrameIsCut)
{
    Bytes bytes = KeyFrame(100);
    bytes.resize(104);  // the splitter looks up to four bytes past the frame
    H264KeyFrame parts{};
    ASSERT_EQ(ParseH264KeyFrame(Place(bytes), 100, &parts), 1);
    EXPECT_EQ(parts.picture_parameter_set_offset, 20);
    EXPECT_EQ(parts.picture_offset, 28);
    EXPECT_EQ(parts.picture_size, 72);
}

TEST_P(OddAddress, SignedControlValuesKeepTheirSign)
{
    const CameraTerminalControl* const tilt = FindCameraTerminalControl(0x9A0909);
    ASSERT_NE(tilt, nullptr);
    EXPECT_EQ(DecodeTerminalControl(*tilt, Place({1, 2, 3, 4, 0xF0, 0xFF, 0xFF, 0xFF})), -16);
    EXPECT_EQ(DecodeTerminalControl(*tilt, Place({1, 2, 3, 4, 0x80, 0x81, 0x82, 0x03})),
              0x03828180);
}

TEST_P(OddAddress, WordsAreReadAndWrittenByteByByte)
{
    unsigned char* const bytes = Place(Bytes(6));
    WriteLe32(bytes, 0x89ABCDEF);
    WriteLe16(bytes + 4, 0xFEDC);
    EXPECT_EQ(std::memcmp(bytes, "\xEF\xCD\xAB\x89\xDC\xFE", 6), 0);
    EXPECT_EQ(ReadLe32(bytes), 0x89ABCDEFu);
    EXPECT_EQ(ReadLe16(bytes + 4), 0xFEDC);
}

INSTANTIATE_TEST_SUITE_P(Offsets, OddAddress, testing::Range<std::size_t>(0, 8));

}  // namespace
