// Containers that lie about themselves.
#include "tests/video/container_fixture.h"

namespace {

using MalformedContainer = ContainerParser;

TEST_F(MalformedContainer, FrameOfUpTo32BytesHasNoSection)
{
    for (const std::size_t size : {1u, 31u, 32u}) {
        m_log.Clear();
        Parse(Bytes(size, 0));
        ExpectNothingFound();
        ExpectLines({kOffsetLine});
    }
}

TEST_F(MalformedContainer, UpTo32BytesBehindTheLastSectionAreLoggedAndTheSectionsKept)
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

TEST_F(MalformedContainer, FirstDataAreaLargerThanTheFrameIsRefused)
{
    Section section{kMainH264, Bytes(10)};
    section.reserved_size = 0x200000;
    Parse(Container({section}));
    ExpectNothingFound();
    ExpectLines({SizeLine(0x2B, 0x200000)});
}

TEST_F(MalformedContainer, FirstHeaderIsNotCountedInTheSizeTest)
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

TEST_F(MalformedContainer, LaterDataAreaThatEndsBeyondTheFrameIsRefused)
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

TEST_F(MalformedContainer, PayloadThatRunsPastTheFrameIsCut)
{
    Section section{kJpeg, Bytes(10)};
    section.payload_size = 0xFFFFFFFF;
    section.reserved_size = 10;
    Parse(Container({section}));
    EXPECT_EQ(m_sample.jpeg.size, 10u);
}

TEST_F(MalformedContainer, PayloadAboveItsAreaClearsNothing)
{
    Section section{kJpeg, Bytes(10, 0x11)};
    section.payload_size = 200;
    section.reserved_size = 10;
    Parse(Container({section, {kGray, Bytes(60, 0x22)}}));
    EXPECT_EQ(m_frame[kData + 9], 0x11);
    EXPECT_EQ(m_sample.gray.data[0], 0x22);
    EXPECT_EQ(m_sample.jpeg.size, 102u);  // to the end of the frame
}

TEST_F(MalformedContainer, DataThatStartsBeyondTheFrameIsAbsent)
{
    Section section{kJpeg, Bytes(10)};
    section.remainder = 0xFFFF;
    Bytes bytes = SectionBytes(section);
    bytes.resize(60);
    Parse(bytes);
    ExpectNothingFound();
    ExpectLines({});
}

TEST_F(MalformedContainer, DataThatStartsAtTheEndOfTheFrameIsAbsent)
{
    Section section{kJpeg, Bytes(10)};
    section.remainder = 38;
    Bytes bytes = SectionBytes(section);
    bytes.resize(42);
    Parse(bytes);
    EXPECT_EQ(m_sample.jpeg.size, 0u);
}

TEST_F(MalformedContainer, PaddingIsClearedInsideTheFrameOnly)
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

TEST_F(MalformedContainer, OffsetsDoNotWrapAt32Bits)
{
    Section first{kJpeg, Bytes(10)};
    Section second{kGray, Bytes(10)};
    second.reserved_size = 0xFFFFFFF0;
    Parse(Container({first, second}));
    EXPECT_EQ(m_sample.jpeg.size, 10u);
    EXPECT_EQ(m_sample.gray.data, nullptr);
    ExpectLines({SizeLine(0x2D, -16)});
}

TEST_F(MalformedContainer, EmptySectionsEndEventually)
{
    Section empty{99, {}};
    empty.remainder = 0;  // the next header begins four bytes on
    Bytes bytes = SectionBytes(empty);
    bytes.resize(40, 0);
    Parse(bytes);
    ExpectNothingFound();
    ExpectLines({"Unknown Format ID 99 \r\n", "Unknown Format ID 0 \r\n", kOffsetLine});
}

}  // namespace
