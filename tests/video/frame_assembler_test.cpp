// From payloads to frames in a ring, without transfers.
#include "video/frame_assembler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/log_level.h"
#include "tests/support/scripted_camera.h"
#include "tests/support/wait_until.h"
#include "tests/video/usb_calls.h"

namespace {

using test_support::Bytes;
using test_support::CapturedLog;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using Answer = FrameAssembler::Answer;

enum : std::uint8_t { kFid = 0x01, kEof = 0x02, kErr = 0x40 };

constexpr std::uint32_t kMax = 100;
constexpr int kRing = 3;
constexpr int kTimedOut = 2;  // of a transfer

Bytes Data(std::size_t length, std::uint8_t byte)
{
    return Bytes(length, byte);
}

Bytes operator+(Bytes first, const Bytes& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// A stream has begun; the test is consumer, too.
class Assembler : public testing::Test {
protected:
    void SetUp() override
    {
        for (std::size_t i = 0; i < kRing; ++i) {
            m_owned[i] = std::make_unique<CFrameBuf>(kMax);
            m_buffers[i] = m_owned[i].get();
            // Nothing may depend on what memory holds at the beginning.
            std::fill_n(m_buffers[i]->Data(), kMax, std::uint8_t{0xEE});
        }
        BeginStream();
    }

    void BeginStream()
    {
        m_assembler.End();
        m_queue.emplace(m_buffers.data(), kRing);
        ASSERT_TRUE(m_assembler.Begin(*m_queue, kMax));
    }

    Answer Take(Bytes& payload, int status = 0)
    {
        return m_assembler.Take(payload.data(), static_cast<unsigned>(payload.size()), status,
                                m_interrupt);
    }
    Answer Take(std::uint8_t flags, const Bytes& data = {}, std::uint8_t header_length = 12)
    {
        Bytes payload = test_support::Payload(flags, data, header_length);
        return Take(payload);
    }

    /// The next complete frame, or nothing.
    std::optional<Bytes> NextFrame()
    {
        if (m_queue->Count() == 0)
            return std::nullopt;
        const CFrameBuf* const frame = m_queue->Peek();
        unsigned char* const data = m_queue->Peek()->Data();
        const Bytes bytes(data, data + frame->size);
        m_queue->Release();
        return bytes;
    }
    /// What stands in a buffer from `offset` on, up to the end of its slack.
    Bytes Behind(int buffer, std::size_t offset)
    {
        unsigned char* const data = m_buffers[static_cast<std::size_t>(buffer)]->Data();
        return Bytes(data + offset, data + kMax + CFrameBuf::kSlack);
    }
    /// Frames 0 and 1 lie in the ring, frame 2 in the buffer at hand: when it is
    /// closed, the ring is full.
    void FillRing()
    {
        for (std::uint8_t i = 0; i < kRing; ++i) {
            ASSERT_EQ(Take(0, Data(5, i)), Answer::kTaken);
            if (i < kRing - 1) {
                ASSERT_EQ(Take(kEof), Answer::kTaken);
            }
        }
        m_log.Clear();
    }
    std::vector<std::string> Lines() const { return LogLines(m_log); }

    std::array<std::unique_ptr<CFrameBuf>, kRing> m_owned;
    std::array<CFrameBuf*, kRing> m_buffers{};
    std::optional<CFrameBufQueue> m_queue;
    std::atomic<int> m_interrupt{0};
    FrameAssembler m_assembler;
    CapturedLog m_log;
};

// Where a frame ends.

TEST_F(Assembler, PayloadsJoinUntilTheFrameIdToggles)
{
    EXPECT_EQ(Take(0, Data(3, 1)), Answer::kTaken);
    EXPECT_EQ(Take(0, Data(4, 2)), Answer::kTaken);
    EXPECT_EQ(NextFrame(), std::nullopt);
    EXPECT_EQ(Take(kFid, Data(5, 3)), Answer::kTaken);
    EXPECT_EQ(NextFrame(), Data(3, 1) + Data(4, 2));
    EXPECT_EQ(Take(kFid, Data(6, 4)), Answer::kTaken);
    EXPECT_EQ(NextFrame(), std::nullopt);
    EXPECT_EQ(Take(0), Answer::kTaken);
    EXPECT_EQ(NextFrame(), Data(5, 3) + Data(6, 4));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Assembler, EndOfFrameCountsItsDataToTheNextFrame)
{
    Take(0, Data(3, 1));
    EXPECT_EQ(Take(kEof, Data(4, 2)), Answer::kTaken);
    EXPECT_EQ(NextFrame(), Data(3, 1));
    Take(0, Data(5, 3));
    Take(kEof);
    EXPECT_EQ(NextFrame(), Data(4, 2) + Data(5, 3));
}

TEST_F(Assembler, HeaderAloneWithEndOfFrameClosesAndAddsNothing)
{
    Take(0, Data(3, 1));
    EXPECT_EQ(Take(kEof), Answer::kTaken);
    EXPECT_EQ(NextFrame(), Data(3, 1));
    EXPECT_EQ(Take(kEof), Answer::kTaken);
    EXPECT_EQ(NextFrame(), std::nullopt);
}

TEST_F(Assembler, EndOfFrameWithAToggledIdClosesOnce)
{
    Take(0, Data(3, 1));
    EXPECT_EQ(Take(kFid | kEof, Data(4, 2)), Answer::kTaken);
    EXPECT_EQ(NextFrame(), Data(3, 1));
    Take(kFid, Data(5, 3));
    EXPECT_EQ(NextFrame(), std::nullopt);
    Take(0);
    EXPECT_EQ(NextFrame(), Data(4, 2) + Data(5, 3));
}

TEST_F(Assembler, BoundaryWithNothingBeforeItMakesNoFrame)
{
    Take(kFid);
    Take(0);
    Take(kFid | kEof);
    EXPECT_EQ(m_queue->Count(), 0);
    Take(kFid, Data(3, 1));
    Take(0);
    EXPECT_EQ(NextFrame(), Data(3, 1));
}

TEST_F(Assembler, OtherFlagsMeanNothing)
{
    for (const std::uint8_t flags : Bytes{0x04, 0x08, 0x10, 0x20, 0x80})
        EXPECT_EQ(Take(flags, Data(1, flags)), Answer::kTaken);
    Take(kEof);
    EXPECT_EQ(NextFrame(), (Bytes{0x04, 0x08, 0x10, 0x20, 0x80}));
}

TEST_F(Assembler, FlagsSurviveFromStreamToStream)
{
    Take(kFid, Data(3, 1));
    BeginStream();
    // No boundary, so that the header's length is not looked at.
    EXPECT_EQ(Take(kFid, Data(4, 2), 2), Answer::kTaken);
    EXPECT_EQ(m_log.Text(), "");
    Take(0);
    EXPECT_EQ(NextFrame(), Data(4, 2));
    BeginStream();
    EXPECT_EQ(Take(kFid, Data(5, 3), 2), Answer::kDropped);
    EXPECT_TRUE(m_log.Contains("UVC Payload Header Length = 2\n"));
}

TEST_F(Assembler, HalfAFrameEndsWithItsStream)
{
    Take(0, Data(3, 1));
    BeginStream();
    Take(0, Data(4, 2));
    Take(kEof);
    EXPECT_EQ(NextFrame(), Data(4, 2));
}

TEST_F(Assembler, EndHandsTheBufferOverWithItsOldSize)
{
    Take(0, Data(7, 1));
    m_buffers[0]->size = 5;
    EXPECT_TRUE(m_assembler.IsReady());
    m_assembler.End();
    EXPECT_FALSE(m_assembler.IsReady());
    EXPECT_EQ(NextFrame(), Data(5, 1));
}

TEST_F(Assembler, NeverBegunIsNotReady)
{
    FrameAssembler assembler;
    EXPECT_FALSE(assembler.IsReady());
    assembler.End();
    EXPECT_FALSE(assembler.IsReady());
}

// Headers that are not as they should be.

TEST_F(Assembler, ShortHeaderAtABoundaryClosesAndItsPayloadIsDropped)
{
    Take(0, Data(3, 1));
    Bytes payload = test_support::Payload(kFid, Data(20, 2), 2);
    EXPECT_EQ(Take(payload), Answer::kDropped);
    EXPECT_EQ(payload[1], kFid | kErr);
    EXPECT_EQ(Behind(0, 3), Data(CFrameBuf::kSlack, 0) + Data(kMax - 3 - CFrameBuf::kSlack, 0xEE) +
                                Data(CFrameBuf::kSlack, 0));
    EXPECT_EQ(NextFrame(), Data(3, 1));
    EXPECT_THAT(Lines(), ElementsAre("FillVideoBuf_Bulk/4: UVC Payload Header Length = 2\n",
                                     "FillVideoBuf_Bulk/4: Dropping payload (error bit set).\n"));
    // Its flags count all the same.
    EXPECT_EQ(Take(kFid, Data(5, 3)), Answer::kTaken);
    EXPECT_EQ(NextFrame(), std::nullopt);
    Take(0);
    EXPECT_EQ(NextFrame(), Data(5, 3));
}

TEST_F(Assembler, HeaderLengthInsideAFrameIsNotLookedAt)
{
    Take(0, Data(3, 1));
    for (const std::uint8_t length : Bytes{0, 2, 11, 13, 255})
        EXPECT_EQ(Take(0, Data(1, length), length), Answer::kTaken);
    Take(kEof);
    EXPECT_EQ(NextFrame(), (Bytes{1, 1, 1, 0, 2, 11, 13, 255}));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Assembler, LongHeaderLeavesItsPayloadUncountedBehindTheFrame)
{
    Take(0, Data(3, 1));
    EXPECT_EQ(Take(kFid, Data(20, 2), 13), Answer::kDropped);
    const Bytes behind = Behind(0, 3);
    EXPECT_EQ(Bytes(behind.begin(), behind.begin() + 20), Data(20, 2));
    EXPECT_EQ(Bytes(behind.begin() + 20, behind.end() - CFrameBuf::kSlack), Data(kMax - 23, 0xEE));
    EXPECT_EQ(NextFrame(), Data(3, 1));
    EXPECT_THAT(Lines(), ElementsAre("FillVideoBuf_Bulk/4: UVC Payload Header Length = 13\n",
                                     "FillVideoBuf_Bulk/4: Dropping payload (error bit set).\n"));
}

TEST_F(Assembler, LongHeadersPayloadStaysInsideTheBuffer)
{
    Take(0, Data(90, 1));
    EXPECT_EQ(Take(kFid, Data(50, 2), 255), Answer::kDropped);
    EXPECT_EQ(Behind(0, 90), Data(10, 2) + Data(CFrameBuf::kSlack, 0));
    EXPECT_EQ(NextFrame(), Data(90, 1));
}

TEST_F(Assembler, LongHeaderBehindAFullBufferCopiesNothing)
{
    Take(0, Data(kMax, 1));
    EXPECT_EQ(Take(kFid, Data(50, 2), 255), Answer::kDropped);
    EXPECT_EQ(Behind(0, kMax), Data(CFrameBuf::kSlack, 0));
    EXPECT_EQ(NextFrame(), Data(kMax, 1));
}

TEST_F(Assembler, LongHeaderWithNothingBeforeItIsOverwritten)
{
    EXPECT_EQ(Take(kEof, Data(50, 2), 13), Answer::kDropped);
    EXPECT_EQ(NextFrame(), std::nullopt);
    EXPECT_EQ(Take(0, Data(4, 3)), Answer::kTaken);
    Take(kEof);
    EXPECT_EQ(NextFrame(), Data(4, 3));
}

TEST_F(Assembler, LongHeaderThatIsTheWholePayloadCopiesNothing)
{
    Take(0, Data(3, 1));
    EXPECT_EQ(Take(kEof, {}, 200), Answer::kDropped);
    EXPECT_EQ(Behind(0, 3 + CFrameBuf::kSlack),
              Data(kMax - 3 - CFrameBuf::kSlack, 0xEE) + Data(CFrameBuf::kSlack, 0));
    EXPECT_EQ(NextFrame(), Data(3, 1));
}

// Payloads of no use.

TEST_F(Assembler, ErrorBitDropsThePayloadAndTheFrameGoesOn)
{
    Take(0, Data(3, 1));
    EXPECT_EQ(Take(kErr, Data(4, 2)), Answer::kDropped);
    EXPECT_EQ(Take(0, Data(5, 3)), Answer::kTaken);
    Take(kEof);
    EXPECT_EQ(NextFrame(), Data(3, 1) + Data(5, 3));
    EXPECT_THAT(Lines(), ElementsAre("FillVideoBuf_Bulk/4: Dropping payload (error bit set).\n"));
}

TEST_F(Assembler, ErrorBitAtABoundaryClosesTheFrame)
{
    Take(0, Data(3, 1));
    EXPECT_EQ(Take(kErr | kFid, Data(4, 2)), Answer::kDropped);
    EXPECT_EQ(NextFrame(), Data(3, 1));
    Take(kFid, Data(5, 3));
    EXPECT_EQ(NextFrame(), std::nullopt);
    Take(0);
    EXPECT_EQ(NextFrame(), Data(5, 3));
}

TEST_F(Assembler, PayloadThatDoesNotFitIsLeftOutAndAShorterOneTaken)
{
    Take(0, Data(90, 1));
    EXPECT_EQ(Take(0, Data(11, 2)), Answer::kDropped);
    EXPECT_THAT(Lines(), ElementsAre("FillVideoBuf_Bulk/4: Fram size exceed MaxFrameSize!! 101\n"));
    EXPECT_EQ(Take(0, Data(10, 3)), Answer::kTaken);
    EXPECT_EQ(Take(0, Data(1, 4)), Answer::kDropped);
    EXPECT_EQ(Behind(0, kMax), Data(CFrameBuf::kSlack, 0));
    Take(kEof);
    EXPECT_EQ(NextFrame(), Data(90, 1) + Data(10, 3));
}

TEST_F(Assembler, PayloadLargerThanAFrameBeginsNone)
{
    EXPECT_EQ(Take(0, Data(kMax + 1, 1)), Answer::kDropped);
    Take(kEof);
    EXPECT_EQ(NextFrame(), std::nullopt);
}

TEST_F(Assembler, PayloadWithoutBytesChangesNothing)
{
    Take(0, Data(3, 1));
    Bytes empty;
    EXPECT_EQ(Take(empty, kTimedOut), Answer::kTaken);
    EXPECT_THAT(Lines(), IsEmpty());
    Take(kEof);
    EXPECT_EQ(NextFrame(), Data(3, 1));
}

TEST_F(Assembler, PayloadOfOneByteHasNoFlags)
{
    Take(0, Data(3, 1));
    Bytes one{2};
    EXPECT_EQ(Take(one), Answer::kTaken);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_EQ(Take(one, kTimedOut), Answer::kTaken);
    EXPECT_THAT(Lines(), ElementsAre("FillVideoBuf_Bulk/4: status 2\n"));
    EXPECT_EQ(NextFrame(), std::nullopt);
    Take(kEof);
    EXPECT_EQ(NextFrame(), Data(3, 1));
}

TEST_F(Assembler, PayloadOfTwoBytesHasFlags)
{
    Take(0, Data(3, 1));
    Bytes two{12, kEof};
    EXPECT_EQ(Take(two), Answer::kTaken);
    EXPECT_EQ(NextFrame(), Data(3, 1));
}

TEST_F(Assembler, HeaderCutShortAddsNothing)
{
    Take(0, Data(3, 1));
    for (std::size_t length = 2; length <= 12; ++length) {
        Bytes cut = test_support::Payload(0);
        cut.resize(length);
        EXPECT_EQ(Take(cut), Answer::kTaken);
    }
    Take(kEof);
    EXPECT_EQ(NextFrame(), Data(3, 1));
}

TEST_F(Assembler, StatusIsLoggedAndThePayloadTaken)
{
    Bytes payload = test_support::Payload(0, Data(3, 1));
    EXPECT_EQ(Take(payload, kTimedOut), Answer::kTaken);
    Take(kEof);
    EXPECT_EQ(NextFrame(), Data(3, 1));
    EXPECT_THAT(Lines(), ElementsAre("FillVideoBuf_Bulk/4: status 2\n"));
}

// Behind a frame.

TEST_F(Assembler, ZerosFollowEveryFrame)
{
    for (std::uint8_t i = 0; i < 2 * kRing + 1; ++i) {
        const std::uint32_t length = kMax - 15U * i;
        Take(0, Data(length / 2, 0x11));
        Take(0, Data(length - length / 2, 0x22));
        Take(kEof);
        const Bytes behind = Behind(i % kRing, length);
        EXPECT_THAT(Bytes(behind.begin(), behind.begin() + CFrameBuf::kSlack), Each(0));
        EXPECT_EQ(NextFrame(), Data(length / 2, 0x11) + Data(length - length / 2, 0x22));
    }
}

// A full ring.

TEST_F(Assembler, InterruptedWithoutRoomWaitsAndIsTakenLater)
{
    FillRing();
    m_interrupt = 1;
    Bytes payload = test_support::Payload(kFid, Data(4, 9));
    EXPECT_EQ(Take(payload), Answer::kNoRoom);
    EXPECT_TRUE(m_assembler.IsAwaitingBuffer());
    EXPECT_TRUE(m_assembler.IsReady());
    EXPECT_EQ(m_queue->Count(), kRing);
    EXPECT_EQ(Take(payload), Answer::kNoRoom);

    EXPECT_EQ(NextFrame(), Data(5, 0));
    EXPECT_EQ(Take(payload), Answer::kTaken);
    EXPECT_FALSE(m_assembler.IsAwaitingBuffer());
    EXPECT_EQ(Take(kFid, Data(2, 10)), Answer::kTaken);
    EXPECT_EQ(NextFrame(), Data(5, 1));
    EXPECT_EQ(NextFrame(), Data(5, 2));
    EXPECT_EQ(NextFrame(), std::nullopt);  // there was one boundary, not three
    Take(0);
    EXPECT_EQ(NextFrame(), Data(4, 9) + Data(2, 10));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Assembler, EndOfFrameThatWaitsIsOneBoundary)
{
    FillRing();
    m_interrupt = 1;
    Bytes payload = test_support::Payload(kEof, Data(4, 9));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(Take(payload), Answer::kNoRoom);
    while (NextFrame()) {
    }
    EXPECT_EQ(Take(payload), Answer::kTaken);
    EXPECT_EQ(m_queue->Count(), 0);
    Take(kEof);
    EXPECT_EQ(NextFrame(), Data(4, 9));
}

TEST_F(Assembler, PayloadThatWaitsIsLoggedOnce)
{
    FillRing();
    m_interrupt = 1;
    Bytes payload = test_support::Payload(kEof, Data(4, 9), 13);
    EXPECT_EQ(Take(payload, kTimedOut), Answer::kNoRoom);
    const auto logged = ElementsAre("FillVideoBuf_Bulk/4: status 2\n",
                                    "FillVideoBuf_Bulk/4: UVC Payload Header Length = 13\n");
    EXPECT_THAT(Lines(), logged);
    EXPECT_EQ(Take(payload, kTimedOut), Answer::kNoRoom);
    EXPECT_THAT(Lines(), logged);
    m_log.Clear();
    NextFrame();
    EXPECT_EQ(Take(payload, kTimedOut), Answer::kDropped);
    EXPECT_THAT(Lines(), ElementsAre("FillVideoBuf_Bulk/4: Dropping payload (error bit set).\n"));
}

TEST_F(Assembler, InterruptDoesNotMatterWhileThereIsRoom)
{
    m_interrupt = 1;
    Take(0, Data(3, 1));
    EXPECT_EQ(Take(kFid, Data(4, 2)), Answer::kTaken);
    EXPECT_EQ(NextFrame(), Data(3, 1));
}

TEST_F(Assembler, WithoutRoomSleepsUntilAFrameIsReleased)
{
    FillRing();
    std::optional<Answer> answer;
    std::thread producer([&] { answer = Take(kFid, Data(4, 9)); });
    // Committed before it sleeps.
    EXPECT_TRUE(test_support::WaitUntil([this] { return m_queue->Count() == kRing; }));
    EXPECT_EQ(NextFrame(), Data(5, 0));
    producer.join();
    EXPECT_EQ(answer, Answer::kTaken);
    EXPECT_EQ(NextFrame(), Data(5, 1));
    EXPECT_EQ(NextFrame(), Data(5, 2));
    Take(0);
    EXPECT_EQ(NextFrame(), Data(4, 9));
}

TEST_F(Assembler, InterruptEndsItsSleep)
{
    FillRing();
    std::atomic<bool> done{false};
    std::optional<Answer> answer;
    std::thread producer([&] {
        answer = Take(kFid, Data(4, 9));
        done = true;
    });
    EXPECT_TRUE(test_support::WaitUntil([this] { return m_queue->Count() == kRing; }));
    m_interrupt = 1;
    EXPECT_TRUE(test_support::WaitUntil([&] {
        m_queue->WakeProducer();
        return done.load();
    }));
    producer.join();
    EXPECT_EQ(answer, Answer::kNoRoom);
}

TEST_F(Assembler, PayloadOfARingClosedWhileFullIsKept)
{
    FillRing();
    m_queue->Close();
    EXPECT_EQ(Take(kFid, Data(4, 9)), Answer::kKeep);
    EXPECT_FALSE(m_assembler.IsAwaitingBuffer());
    EXPECT_FALSE(m_assembler.IsReady());
    EXPECT_EQ(m_queue->Count(), kRing);
    EXPECT_THAT(Lines(),
                ElementsAre("FillVideoBuf_Bulk/1: Frame Buffer for writing is NULL !!!\r\n"));
    m_assembler.End();
    EXPECT_EQ(m_queue->Count(), kRing);  // there was no buffer to hand over
}

TEST_F(Assembler, ClosingWakesItsSleep)
{
    FillRing();
    std::optional<Answer> answer;
    std::thread producer([&] { answer = Take(kFid, Data(4, 9)); });
    EXPECT_TRUE(test_support::WaitUntil([this] { return m_queue->Count() == kRing; }));
    m_queue->Close();
    producer.join();
    EXPECT_EQ(answer, Answer::kKeep);
}

TEST_F(Assembler, WhatWaitedWhenTheRingWasClosedIsKept)
{
    FillRing();
    m_interrupt = 1;
    Bytes payload = test_support::Payload(kFid, Data(4, 9));
    ASSERT_EQ(Take(payload), Answer::kNoRoom);
    m_queue->Close();
    EXPECT_EQ(Take(payload), Answer::kKeep);
    EXPECT_FALSE(m_assembler.IsAwaitingBuffer());
}

TEST_F(Assembler, HeaderAloneAtARingClosedWhileFullGoesOn)
{
    FillRing();
    m_queue->Close();
    EXPECT_EQ(Take(kEof), Answer::kTaken);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Assembler, ErrorAtARingClosedWhileFullIsDropped)
{
    FillRing();
    m_queue->Close();
    EXPECT_EQ(Take(kEof | kErr, Data(4, 9)), Answer::kDropped);
    EXPECT_THAT(Lines(), ElementsAre("FillVideoBuf_Bulk/4: Dropping payload (error bit set).\n"));
}

TEST_F(Assembler, ClosedRingWithRoomTakesOn)
{
    m_queue->Close();
    EXPECT_EQ(Take(0, Data(3, 1)), Answer::kTaken);
    EXPECT_EQ(Take(kEof, Data(4, 2)), Answer::kTaken);
    EXPECT_EQ(NextFrame(), Data(3, 1));
}

}  // namespace
