// From payloads to frames.
#include "tests/video/video_fixture.h"

namespace {

class Reassembly : public PumpedTest {
protected:
    void SetUp() override
    {
        PumpedTest::SetUp();
        Enable();
    }
};

TEST_F(Reassembly, PayloadsOfOneFrameIdJoinUntilItToggles)
{
    Send(0, Pattern(300, 1));
    Send(0, Pattern(200, 2));
    Send(kFid, Pattern(100, 3));
    EXPECT_EQ(NextFrame(), Joined(Pattern(300, 1), Pattern(200, 2)));
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(Reassembly, FrameIdThatStaysSetJoinsToo)
{
    Send(kFid, Pattern(30, 1));
    Send(kFid, Pattern(20, 2));
    Send(0);
    EXPECT_EQ(NextFrame(), Joined(Pattern(30, 1), Pattern(20, 2)));
}

TEST_F(Reassembly, HeaderOnlyEndOfFrameClosesAndAddsNothing)
{
    Send(0, Pattern(50, 1));
    Send(kEof);
    Send(0, Pattern(60, 2));
    Send(kEof);
    EXPECT_EQ(NextFrame(), Pattern(50, 1));
    EXPECT_EQ(NextFrame(), Pattern(60, 2));
}

TEST_F(Reassembly, DataOfAnEndOfFramePayloadBelongsToTheNextFrame)
{
    Send(0, Pattern(50, 1));
    Send(kEof, Pattern(7, 2));
    Send(0, Pattern(60, 3));
    Send(kEof);
    EXPECT_EQ(NextFrame(), Pattern(50, 1));
    EXPECT_EQ(NextFrame(), Joined(Pattern(7, 2), Pattern(60, 3)));
}

TEST_F(Reassembly, EndOfFrameWithAToggledIdClosesOnce)
{
    Send(0, Pattern(50, 1));
    Send(kFid | kEof);
    Send(kFid, Pattern(9, 2));
    Send(0);
    EXPECT_EQ(NextFrame(), Pattern(50, 1));
    EXPECT_EQ(NextFrame(), Pattern(9, 2));
    EXPECT_EQ(NextFrame(), Bytes{});
}

TEST_F(Reassembly, BoundaryWithoutDataBeforeItMakesNoFrame)
{
    Send(kEof);
    Send(kFid | kEof);
    Send(kFid, Pattern(9, 2));
    Send(kEof);
    EXPECT_EQ(NextFrame(), Pattern(9, 2));
}

TEST_F(Reassembly, OtherFlagsMeanNothing)
{
    Send(0x3C, Pattern(5, 1));
    Send(0x80, Pattern(6, 2));
    Send(kEof);
    EXPECT_EQ(NextFrame(), Joined(Pattern(5, 1), Pattern(6, 2)));
}

TEST_F(Reassembly, ErrorPayloadIsDroppedAndTheFrameGoesOn)
{
    Send(0, Pattern(5, 1));
    Send(kErr, Pattern(6, 2));
    Send(0, Pattern(7, 3));
    Send(kEof);
    EXPECT_EQ(NextFrame(), Joined(Pattern(5, 1), Pattern(7, 3)));
    EXPECT_THAT(LogLines(m_log),
                ElementsAre("FillVideoBuf_Bulk/4: Dropping payload (error bit set).\n"));
}

TEST_F(Reassembly, ErrorPayloadAtABoundaryStillClosesTheFrame)
{
    Send(0, Pattern(5, 1));
    Send(kErr | kFid, Pattern(6, 2));
    Send(kFid, Pattern(7, 3));
    Send(0);
    EXPECT_EQ(NextFrame(), Pattern(5, 1));
    EXPECT_EQ(NextFrame(), Pattern(7, 3));
}

TEST_F(Reassembly, ErrorPayloadIsSubmittedAgain)
{
    const std::size_t before = Submissions();
    Send(kErr, Pattern(6, 2));
    EXPECT_EQ(Submissions(), before + 1);
}

TEST_F(Reassembly, ShortHeaderAtABoundaryIsLoggedAndItsPayloadDropped)
{
    Send(0, Pattern(5, 1));
    Send(kFid, Pattern(6, 2), 2);
    Send(kFid, Pattern(7, 3));
    Send(0);
    EXPECT_EQ(NextFrame(), Pattern(5, 1));
    EXPECT_EQ(NextFrame(), Pattern(7, 3));
    EXPECT_THAT(LogLines(m_log),
                ElementsAre("FillVideoBuf_Bulk/4: UVC Payload Header Length = 2\n",
                            "FillVideoBuf_Bulk/4: Dropping payload (error bit set).\n"));
}

TEST_F(Reassembly, LongHeaderAtABoundaryIsDroppedToo)
{
    Send(0, Pattern(5, 1));
    Send(kFid, Pattern(6, 2), 200);
    Send(kFid, Pattern(7, 3));
    Send(0);
    EXPECT_EQ(NextFrame(), Pattern(5, 1));
    EXPECT_EQ(NextFrame(), Pattern(7, 3));
    EXPECT_TRUE(m_log.Contains("UVC Payload Header Length = 200\n"));
}

TEST_F(Reassembly, LongHeaderBehindAFullFrameStaysInsideTheBuffer)
{
    for (unsigned i = 0; i < 5; ++i)
        Send(0, Pattern(kPayloadSize - 12, i));
    Send(kFid, Pattern(kPayloadSize - 12, 9), 13);
    EXPECT_EQ(NextFrame().size(), 5u * (kPayloadSize - 12));
}

TEST_F(Reassembly, HeaderLengthInsideAFrameIsNotLookedAt)
{
    Send(0, Pattern(5, 1));
    Send(0, Pattern(6, 2), 2);
    Send(0, Pattern(7, 3), 255);
    Send(kEof);
    EXPECT_EQ(NextFrame(),
              Joined(Joined(Pattern(5, 1), Pattern(6, 2)), Pattern(7, 3)));
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(Reassembly, PayloadOfOneByteClosesAndAppendsNothing)
{
    Send(0, Pattern(5, 1));
    const std::size_t before = Submissions();
    m_camera->QueueIn(0x81, {12});
    Pump();
    EXPECT_EQ(Submissions(), before + 1);
    Send(0, Pattern(6, 2));
    Send(kEof);
    EXPECT_EQ(NextFrame(), Joined(Pattern(5, 1), Pattern(6, 2)));
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(Reassembly, PayloadOfTwoBytesHasFlags)
{
    Send(0, Pattern(5, 1));
    m_camera->QueueIn(0x81, {12, kEof});
    Pump();
    EXPECT_EQ(NextFrame(), Pattern(5, 1));
}

TEST_F(Reassembly, EmptyPayloadIsOnlySubmittedAgain)
{
    Send(0, Pattern(5, 1));
    const std::size_t before = Submissions();
    m_camera->QueueIn(0x81, {});
    Pump();
    EXPECT_EQ(Submissions(), before + 1);
    Send(kEof);
    EXPECT_EQ(NextFrame(), Pattern(5, 1));
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(Reassembly, FrameMayFillTheBufferExactly)
{
    for (unsigned i = 0; i < 5; ++i)
        Send(0, Pattern(kPayloadSize - 12, i));
    Send(0, Pattern(kBufferSize - 5 * (kPayloadSize - 12), 5));
    Send(kEof);
    EXPECT_EQ(NextFrame().size(), kBufferSize);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(Reassembly, PayloadThatDoesNotFitIsLeftOutOfTheFrame)
{
    Bytes expected;
    for (unsigned i = 0; i < 5; ++i) {
        Send(0, Pattern(kPayloadSize - 12, i));
        expected = Joined(expected, Pattern(kPayloadSize - 12, i));
    }
    const std::size_t before = Submissions();
    Send(0, Pattern(100, 6));
    EXPECT_EQ(Submissions(), before + 1);
    Send(0, Pattern(60, 7));  // what still fits is taken
    Send(kEof);
    EXPECT_EQ(NextFrame(), Joined(expected, Pattern(60, 7)));
    EXPECT_THAT(LogLines(m_log),
                ElementsAre("FillVideoBuf_Bulk/4: Fram size exceed MaxFrameSize!! 5160\n"));
}

TEST_F(Reassembly, SizeOfAFrameDoesNotComeFromAnEarlierOneInTheSameBuffer)
{
    for (unsigned i = 0; i < 12; ++i) {
        const std::size_t size = 500 - i * 40;
        Send(0, Pattern(size, i));
        Send(kEof);
        EXPECT_EQ(NextFrame(), Pattern(size, i));
    }
}

TEST_F(Reassembly, HeaderFlagsSurviveFromOneStreamToTheNext)
{
    Send(kFid, Pattern(5, 1));
    m_transport->UVC_DisableVideoStream();
    Enable();
    // The same frame id: no boundary, so the header's length is not looked at.
    Send(kFid, Pattern(6, 2), 2);
    EXPECT_EQ(m_log.Text(), "");
    Send(0);
    EXPECT_EQ(NextFrame(), Pattern(6, 2));
}

TEST_F(Reassembly, OtherFrameIdThanTheLastStreamsIsABoundary)
{
    Send(kFid, Pattern(5, 1));
    m_transport->UVC_DisableVideoStream();
    Enable();
    Send(0, Pattern(6, 2), 2);
    EXPECT_TRUE(m_log.Contains("UVC Payload Header Length = 2\n"));
}

TEST_F(Reassembly, FramesOfManyTransfersComeInOrder)
{
    for (unsigned i = 0; i < 40; ++i) {
        const auto fid = static_cast<std::uint8_t>(i & 1);
        m_camera->QueuePayload(fid, Pattern(100 + i, i));
        m_camera->QueuePayload(fid, Pattern(50, i + 100));
        m_camera->QueuePayload(fid | kEof);
        Pump();
        EXPECT_EQ(NextFrame(), Joined(Pattern(100 + i, i), Pattern(50, i + 100)));
    }
}

TEST_F(Reassembly, DequeuedFrameIsLentFromTheRing)
{
    Send(0, Pattern(5, 1));
    Send(kEof);
    unsigned char* first = nullptr;
    unsigned char* again = nullptr;
    unsigned int size = 0;
    EXPECT_EQ(m_transport->DequeFrameBuf(&first, &size), 5);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(m_transport->DequeFrameBuf(&again, &size), 5);
    EXPECT_EQ(again, first);
    EXPECT_EQ(m_transport->QueueFrameBuf(), 0);
}

TEST_F(Reassembly, WithoutAFrameBothOutputsAreCleared)
{
    unsigned char byte = 0;
    unsigned char* data = &byte;
    unsigned int size = 9;
    EXPECT_EQ(m_transport->DequeFrameBuf(&data, &size), 0);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(Reassembly, ReadFrameCopiesAndConsumes)
{
    Send(0, Pattern(50, 1));
    Send(kEof);
    Send(0, Pattern(60, 2));
    Send(kEof);
    Bytes bytes(100, 0xEE);
    EXPECT_EQ(m_transport->ReadFrame(bytes.data(), 100), 50u);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 50), Pattern(50, 1));
    EXPECT_EQ(bytes[50], 0xEE);
    EXPECT_EQ(NextFrame(), Pattern(60, 2));
}

TEST_F(Reassembly, ReadFrameIntoASmallBufferCutsTheFrameAndConsumesItWhole)
{
    Send(0, Pattern(50, 1));
    Send(kEof);
    Bytes bytes(20, 0xEE);
    EXPECT_EQ(m_transport->ReadFrame(bytes.data(), 10), 10u);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 10), Pattern(10, 1));
    EXPECT_EQ(bytes[10], 0xEE);
    EXPECT_EQ(NextFrame(), Bytes{});
}

TEST_F(Reassembly, ReadFrameIntoNothingConsumesTheFrame)
{
    Send(0, Pattern(50, 1));
    Send(kEof);
    EXPECT_EQ(m_transport->ReadFrame(nullptr, 0), 0u);
    EXPECT_EQ(NextFrame(), Bytes{});
}

TEST_F(Reassembly, StoppedStreamHasNoFramesAndAnswersAtOnce)
{
    m_transport->UVC_DisableVideoStream();
    unsigned char byte = 0;
    unsigned char* data = &byte;
    unsigned int size = 9;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(m_transport->DequeFrameBuf(&data, &size), 0);
        EXPECT_EQ(m_transport->ReadFrame(&byte, 1), 0u);
    }
    // A thousand waits of half a second each would have been noticed.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(100));
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(m_transport->QueueFrameBuf(), 0);
}

}  // namespace
