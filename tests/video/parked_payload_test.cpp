// Payloads that complete on a thread that waits for its control request.
#include "tests/video/stream_fixture.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// What a slice of event handling lasts, with a margin: taken up sooner than
/// this means that nobody waited for the end of the slice.
constexpr auto kPrompt = 20ms;

using ParkedPayloads = RunningStream;

TEST_F(ParkedPayloads, CompleteOnTheRequestersThread)
{
    FillRingAndPark();
    const auto threads = CompletionThreads();
    ASSERT_EQ(threads.size(), 8u);
    EXPECT_EQ(threads[5], EventThread());
    EXPECT_EQ(threads[6], m_requester_id);
    EXPECT_EQ(threads[7], m_requester_id);
    AnswerHeldRequest();
}

TEST_F(ParkedPayloads, AreDeliveredInOrderAfterTheRequest)
{
    FillRingAndPark();
    AnswerHeldRequest();
    SendFrames(9, 40);
    TakeAll(1, 39);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(ParkedPayloads, AreDeliveredInOrderDuringTheRequest)
{
    FillRingAndPark();
    SendFrames(9, 40);
    TakeAll(1, 39);
    AnswerHeldRequest();
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(ParkedPayloads, AreNotSubmittedBeforeTheyWereTaken)
{
    FillRingAndPark();
    EXPECT_EQ(Submissions(), 3u + 5u);
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 0);
    AnswerHeldRequest();
    EXPECT_TRUE(Take(1));
    EXPECT_TRUE(WaitUntil([this] { return Submissions() == 3u + 6u; }));
    EXPECT_TRUE(Take(2));
    EXPECT_TRUE(WaitUntil([this] { return Submissions() == 3u + 7u; }));
    TakeAll(3, 5);
}

TEST_F(ParkedPayloads, WithRoomInTheRingAreTakenUpWithoutARelease)
{
    SendFrames(1, 2);
    ASSERT_TRUE(WaitUntil([this] { return m_left == 2; }));
    StartHeldRequest();
    SendFrames(3, 5);
    EXPECT_TRUE(WaitUntil([this] { return Submissions() == 3u + 5u; }));
    AnswerHeldRequest();
    TakeAll(1, 4);
}

TEST_F(ParkedPayloads, OfATransferThatFailedAreLoggedWhenTheyAreTaken)
{
    FillRing();
    StartHeldRequest();
    ASSERT_TRUE(WaitUntil([this] { return m_left == kRing + 1; }));
    SendFrame(7);
    m_camera->QueueIn(0x81, {}, vcam::TransferStatus::kStall);
    ASSERT_TRUE(WaitUntil([this] { return m_left == kRing + 3; }));
    EXPECT_EQ(m_log.Text(), "");
    AnswerHeldRequest();
    TakeAll(1, 5);
    EXPECT_TRUE(m_log.WaitFor("Audio Transfer Unknown Status=4\r\n"));
    SendFrames(8, 20);
    TakeAll(6, 19);
}

TEST_F(ParkedPayloads, AreNotCopiedTwice)
{
    // Frame 7 in two payloads, of which the first waits for room.
    FillRing();
    StartHeldRequest();
    ASSERT_TRUE(WaitUntil([this] { return m_left == kRing + 1; }));
    m_camera->QueuePayload(kFid, Pattern(100, 70));
    m_camera->QueuePayload(kFid, Pattern(50, 71));
    ASSERT_TRUE(WaitUntil([this] { return m_left == kRing + 3; }));
    AnswerHeldRequest();
    TakeAll(1, 6);
    SendFrame(8);
    unsigned char* data = nullptr;
    unsigned int size = 0;
    ASSERT_TRUE(WaitUntil([&] { return m_transport->DequeFrameBuf(&data, &size) > 0; }));
    EXPECT_EQ(Bytes(data, data + size), Joined(Pattern(100, 70), Pattern(50, 71)));
    m_transport->QueueFrameBuf();
}

TEST_F(ParkedPayloads, LogTheirHeaderOnceHoweverLongTheyWait)
{
    FillRing();
    StartHeldRequest();
    ASSERT_TRUE(WaitUntil([this] { return m_left == kRing + 1; }));
    m_camera->QueuePayload(kFid, Pattern(9, 1), 2);  // closes frame 6, is dropped
    SendFrame(7);
    ASSERT_TRUE(WaitUntil([this] { return m_left == kRing + 3; }));
    AnswerHeldRequest();
    ExpectEnds([this] {
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(m_transport->RequestKeyFrame(), 1);
    });
    TakeAll(1, 6);
    SendFrame(8);
    TakeAll(7, 7);
    EXPECT_EQ(m_log.Count("UVC Payload Header Length = 2\n"), 1u);
    EXPECT_EQ(m_log.Count("Dropping payload (error bit set).\n"), 1u);
}

TEST_F(ParkedPayloads, RequestsOneAfterTheOtherKeepTheOrder)
{
    FillRing();
    unsigned sent = 6;
    unsigned taken = 0;
    for (int round = 0; round < 40; ++round) {
        SendFrame(++sent);
        ExpectEnds([this] { EXPECT_EQ(m_transport->RequestKeyFrame(), 1); });
        if (round % 3 != 0) {
            ASSERT_TRUE(Take(++taken));
        }
    }
    TakeAll(taken + 1, sent - 1);
}

TEST_F(ParkedPayloads, AreTakenUpPromptlyAfterARelease)
{
    FillRingAndPark();
    constexpr int kRounds = 20;
    int prompt = 0;
    unsigned sent = 8;
    for (unsigned k = 1; k <= kRounds; ++k) {
        const std::size_t before = Submissions();
        const auto start = Clock::now();
        ASSERT_TRUE(Take(k));
        ASSERT_TRUE(WaitUntil([&] { return Submissions() > before; }));
        prompt += Clock::now() - start < kPrompt ? 1 : 0;
        SendFrame(++sent);
        ASSERT_TRUE(WaitUntil([&] { return m_left == sent; }));
    }
    // Single rounds may be late on a busy machine.
    EXPECT_GE(prompt, kRounds / 2);
    AnswerHeldRequest();
}

TEST_F(ParkedPayloads, OfAnEventThreadThatHadJustLookedAreTakenUpPromptly)
{
    constexpr int kRounds = 20;
    int prompt = 0;
    unsigned sent = 0;
    for (int round = 0; round < kRounds; ++round) {
        // The event thread has looked for parked payloads and is about to wait.
        const auto gate = std::make_shared<Gate>();
        const int hook = m_bus.OnCall("libusb_handle_events_timeout", When::kBefore,
                                      [gate](const Call&) { gate->Pass(); });
        ASSERT_TRUE(gate->WaitArrived());
        m_bus.RemoveHook(hook);
        const std::size_t before = Submissions();
        StartHeldRequest();
        SendFrames(sent + 1, sent + 3);
        sent += 3;
        ASSERT_TRUE(WaitUntil([&] { return m_left == sent; }));
        AnswerHeldRequest();
        ASSERT_EQ(Submissions(), before);
        const auto start = Clock::now();
        gate->Open();
        ASSERT_TRUE(WaitUntil([&] { return Submissions() == before + 3; }));
        prompt += Clock::now() - start < kPrompt ? 1 : 0;
        TakeAll(sent - 3 == 0 ? 1 : sent - 3, sent - 1);
    }
    EXPECT_GE(prompt, kRounds / 2);
}

}  // namespace
