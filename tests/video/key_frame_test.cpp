// Cutting a key frame into its parts.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "tests/video/container_builder.h"
#include "video/frame_buffer.h"
#include "video/key_frame_splitter.h"

namespace {

class KeyFrameSplitter : public testing::Test {
protected:
    /// Splits these bytes as they lie in a frame buffer, its slack behind them.
    int Split(const Bytes& bytes) { return Split(bytes, static_cast<int>(bytes.size())); }
    int Split(const Bytes& bytes, int size)
    {
        CFrameBuf buffer(bytes.size());
        if (!bytes.empty())
            std::memcpy(buffer.Data(), bytes.data(), bytes.size());
        std::memset(static_cast<void*>(&m_parts), 0x77, sizeof m_parts);
        return ParseH264KeyFrame(buffer.Data(), size, &m_parts);
    }
    void ExpectParts(int set, int set_size, int pps, int pps_size, int picture, int picture_size)
    {
        EXPECT_EQ(m_parts.parameter_set_offset, set);
        EXPECT_EQ(m_parts.parameter_set_size, set_size);
        EXPECT_EQ(m_parts.picture_parameter_set_offset, pps);
        EXPECT_EQ(m_parts.picture_parameter_set_size, pps_size);
        EXPECT_EQ(m_parts.picture_offset, picture);
        EXPECT_EQ(m_parts.picture_size, picture_size);
    }
    void ExpectNoParts() { ExpectParts(0, 0, 0, 0, 0, 0); }

    H264KeyFrame m_parts{};
};

TEST_F(KeyFrameSplitter, CutsAtThePictureParameterSet)
{
    EXPECT_EQ(Split(KeyFrame(100)), 1);
    ExpectParts(0, 20, 20, 8, 28, 72);
}

TEST_F(KeyFrameSplitter, FrameWithoutOneIsNotSplit)
{
    EXPECT_EQ(Split(H264(kIntra, 50)), 0);
    ExpectNoParts();
}

TEST_F(KeyFrameSplitter, FrameThatBeginsWithOneIsNotSplit)
{
    Bytes bytes = H264(0x68, 8);
    const Bytes later = KeyFrame(60);
    bytes.insert(bytes.end(), later.begin(), later.end());
    EXPECT_EQ(Split(bytes), 0);
    ExpectNoParts();
}

TEST_F(KeyFrameSplitter, SizeOfZeroOrLessIsNotSplit)
{
    EXPECT_EQ(Split(KeyFrame(100), 0), 0);
    ExpectNoParts();
    EXPECT_EQ(Split(KeyFrame(100), -5), 0);
    ExpectNoParts();
}

TEST_F(KeyFrameSplitter, OtherNalHeadersAreNotOne)
{
    for (const int header : {0x28, 0x48, 0x67, 0x69, 0x08}) {
        Bytes bytes = H264(0x67, 20);
        const Bytes rest = H264(static_cast<std::uint8_t>(header), 20);
        bytes.insert(bytes.end(), rest.begin(), rest.end());
        EXPECT_EQ(Split(bytes), 0) << header;
    }
}

TEST_F(KeyFrameSplitter, ThreeByteStartCodeIsNotEnough)
{
    Bytes bytes(10, 0xFF);
    bytes.insert(bytes.end(), {0, 0, 1, 0x68, 1, 2, 3, 4, 5, 6});
    EXPECT_EQ(Split(bytes), 0);
}

TEST_F(KeyFrameSplitter, FirstOfTwoCounts)
{
    Bytes bytes = KeyFrame(60);
    const Bytes again = KeyFrame(60);
    bytes.insert(bytes.end(), again.begin(), again.end());
    EXPECT_EQ(Split(bytes), 1);
    ExpectParts(0, 20, 20, 8, 28, 92);
}

TEST_F(KeyFrameSplitter, TruncatedPictureParameterSetGivesANegativePicture)
{
    Bytes bytes = H264(0x67, 20);
    bytes.insert(bytes.end(), {0, 0, 0, 1, 0x68});
    EXPECT_EQ(Split(bytes), 1);
    ExpectParts(0, 20, 20, 8, 28, -3);
}

TEST_F(KeyFrameSplitter, FoundOnTheLastByteWithTheRestBehindTheSize)
{
    Bytes bytes = H264(0x67, 20);
    bytes.insert(bytes.end(), {0, 0, 0, 1, 0x68});
    EXPECT_EQ(Split(bytes, 21), 1);
    ExpectParts(0, 20, 20, 8, 28, -7);
    EXPECT_EQ(Split(bytes, 20), 0);
}

TEST_F(KeyFrameSplitter, ScanAtTheEndOfAFullBufferStaysInItsSlack)
{
    Bytes bytes(64, 0);  // every position looks like the beginning of a start code
    EXPECT_EQ(Split(bytes), 0);
}

}  // namespace
