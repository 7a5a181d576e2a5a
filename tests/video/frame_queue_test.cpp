// The ring between an event thread and a capture thread.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "tests/support/wait_until.h"
#include "video/frame_locker.h"
#include "video/frame_queue.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using test_support::WaitUntil;

/// Runs a function on a thread of its own and knows whether it has ended.
class Runner {
public:
    template <typename Function>
    explicit Runner(Function function)
        : m_thread([this, function] {
              function();
              m_done = true;
          })
    {
    }
    ~Runner() { m_thread.join(); }
    bool Done() const { return m_done; }
    bool WaitDone() const
    {
        return WaitUntil([this] { return m_done.load(); });
    }
    /// True when it is still at it after a while in which it could have ended.
    bool StaysBusy() const
    {
        return !WaitUntil([this] { return m_done.load(); }, 50ms);
    }

private:
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

class FrameQueue : public testing::Test {
protected:
    static constexpr int kCapacity = 5;

    FrameQueue()
    {
        for (std::size_t i = 0; i < kCapacity; ++i) {
            m_owned[i] = std::make_unique<CFrameBuf>(16);
            m_buffers[i] = m_owned[i].get();
        }
        m_queue = std::make_unique<CFrameBufQueue>(m_buffers.data(), kCapacity);
    }
    CFrameBuf* Buffer(int index) { return m_buffers[static_cast<std::size_t>(index)]; }
    void Fill()
    {
        while (m_queue->Count() < kCapacity)
            m_queue->Commit();
    }

    std::array<std::unique_ptr<CFrameBuf>, kCapacity> m_owned;
    std::array<CFrameBuf*, kCapacity> m_buffers{};
    std::unique_ptr<CFrameBufQueue> m_queue;
};

TEST_F(FrameQueue, StartsEmptyAtTheFirstBuffer)
{
    EXPECT_EQ(m_queue->Count(), 0);
    EXPECT_EQ(m_queue->Capacity(), kCapacity);
    EXPECT_EQ(m_queue->Acquire(), Buffer(0));
}

TEST_F(FrameQueue, AcquireGivesTheSameBufferUntilItIsCommitted)
{
    EXPECT_EQ(m_queue->Acquire(), Buffer(0));
    EXPECT_EQ(m_queue->Acquire(), Buffer(0));
    m_queue->Commit();
    EXPECT_EQ(m_queue->Acquire(), Buffer(1));
}

TEST_F(FrameQueue, BuffersGoRoundInOrderOnBothSides)
{
    for (int i = 0; i < 3 * kCapacity + 1; ++i) {
        EXPECT_EQ(m_queue->Acquire(), Buffer(i % kCapacity));
        m_queue->Commit();
        EXPECT_EQ(m_queue->Peek(), Buffer(i % kCapacity));
        m_queue->Release();
    }
}

TEST_F(FrameQueue, PeekGivesTheOldestUntilItIsReleased)
{
    Fill();
    for (int i = 0; i < kCapacity; ++i) {
        EXPECT_EQ(m_queue->Peek(), Buffer(i));
        EXPECT_EQ(m_queue->Peek(), Buffer(i));
        m_queue->Release();
    }
    EXPECT_EQ(m_queue->Count(), 0);
}

TEST_F(FrameQueue, PeekOnAnEmptyRingGivesUpAfterHalfASecond)
{
    const auto start = Clock::now();
    EXPECT_EQ(m_queue->Peek(), nullptr);
    EXPECT_GE(Clock::now() - start, 490ms);
}

TEST_F(FrameQueue, CommitWakesTheConsumer)
{
    CFrameBuf* found = nullptr;
    const auto start = Clock::now();
    bool late = false;
    {
        const Runner consumer([&] {
            // Half a second is a try's limit, not this test's.
            while (found == nullptr && Clock::now() - start < test_support::kPatience)
                found = m_queue->Peek();
            late = Clock::now() - start > test_support::kPatience;
        });
        EXPECT_TRUE(consumer.StaysBusy());
        m_queue->Commit();
    }
    EXPECT_EQ(found, Buffer(0));
    EXPECT_FALSE(late);
}

TEST_F(FrameQueue, AcquireOnAFullRingSleepsUntilARelease)
{
    Fill();
    CFrameBuf* got = nullptr;
    {
        const Runner producer([&] { got = m_queue->Acquire(); });
        EXPECT_TRUE(producer.StaysBusy());
        m_queue->Release();
    }
    EXPECT_EQ(got, Buffer(0));
}

TEST_F(FrameQueue, CloseWakesAProducerEmptyHanded)
{
    Fill();
    CFrameBuf* got = Buffer(0);
    {
        const Runner producer([&] { got = m_queue->Acquire(); });
        EXPECT_TRUE(producer.StaysBusy());
        m_queue->Close();
    }
    EXPECT_EQ(got, nullptr);
    EXPECT_TRUE(m_queue->IsClosed());
}

TEST_F(FrameQueue, CloseWakesAConsumerEmptyHanded)
{
    CFrameBuf* found = Buffer(0);
    {
        const Runner consumer([&] { found = m_queue->Peek(); });
        m_queue->Close();
    }
    EXPECT_EQ(found, nullptr);
}

TEST_F(FrameQueue, ClosedFullRingGivesNoBufferAndDoesNotWait)
{
    Fill();
    m_queue->Close();
    EXPECT_EQ(m_queue->Acquire(), nullptr);
}

TEST_F(FrameQueue, ClosedRingStillGivesWhatThereIs)
{
    m_queue->Commit();
    m_queue->Close();
    EXPECT_EQ(m_queue->Acquire(), Buffer(1));
    EXPECT_EQ(m_queue->Peek(), Buffer(0));
}

TEST_F(FrameQueue, PeekOnAClosedEmptyRingDoesNotWait)
{
    m_queue->Close();
    const auto start = Clock::now();
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(m_queue->Peek(), nullptr);
    EXPECT_LT(Clock::now() - start, 100s);
}

TEST_F(FrameQueue, InterruptedAcquireGivesUp)
{
    Fill();
    std::atomic<int> interrupt{0};
    CFrameBuf* got = Buffer(0);
    {
        const Runner producer([&] { got = m_queue->Acquire(&interrupt); });
        EXPECT_TRUE(producer.StaysBusy());
        interrupt = 1;
        m_queue->WakeProducer();
    }
    EXPECT_EQ(got, nullptr);
}

TEST_F(FrameQueue, InterruptDoesNotMatterWhileThereIsRoom)
{
    const std::atomic<int> interrupt{1};
    EXPECT_EQ(m_queue->Acquire(&interrupt), Buffer(0));
}

TEST_F(FrameQueue, ProducerWokenForNothingSleepsAgain)
{
    Fill();
    const std::atomic<int> interrupt{0};
    const Runner producer([&] { m_queue->Acquire(&interrupt); });
    for (int i = 0; i < 20; ++i)
        m_queue->WakeProducer();
    EXPECT_TRUE(producer.StaysBusy());
    m_queue->Release();
}

TEST_F(FrameQueue, WaitForRoomEndsWithARelease)
{
    Fill();
    const Runner producer([&] { m_queue->WaitForRoom(600000); });
    EXPECT_TRUE(producer.StaysBusy());
    m_queue->Release();
    EXPECT_TRUE(producer.WaitDone());
}

TEST_F(FrameQueue, WaitForRoomEndsWithTheRing)
{
    Fill();
    const Runner producer([&] { m_queue->WaitForRoom(600000); });
    m_queue->Close();
    EXPECT_TRUE(producer.WaitDone());
}

TEST_F(FrameQueue, WaitForRoomHasALimit)
{
    Fill();
    m_queue->WaitForRoom(5);
    EXPECT_EQ(m_queue->Count(), kCapacity);
}

TEST_F(FrameQueue, WaitForRoomDoesNotWaitWhereThereIsSome)
{
    const Runner producer([&] { m_queue->WaitForRoom(600000); });
    EXPECT_TRUE(producer.WaitDone());
}

TEST_F(FrameQueue, ReleaseOfAnEmptyRingIsIgnored)
{
    m_queue->Release();
    EXPECT_EQ(m_queue->Count(), 0);
    m_queue->Commit();
    EXPECT_EQ(m_queue->Peek(), Buffer(0));
}

TEST_F(FrameQueue, DrainWaitsForEverySleeper)
{
    for (int i = 0; i < 50; ++i) {
        auto queue = std::make_unique<CFrameBufQueue>(m_buffers.data(), kCapacity);
        const Runner consumer([&] { EXPECT_EQ(queue->Peek(), nullptr); });
        queue->Close();
        queue->DrainWaiters();
        ASSERT_TRUE(consumer.WaitDone());
        queue.reset();
    }
}

TEST_F(FrameQueue, EveryFrameOfAFastProducerArrivesOnceAndInOrder)
{
    constexpr std::uint32_t kFrames = 20000;
    const Runner producer([&] {
        for (std::uint32_t i = 1; i <= kFrames; ++i) {
            CFrameBuf* const buffer = m_queue->Acquire();
            ASSERT_NE(buffer, nullptr);
            buffer->size = i;
            m_queue->Commit();
        }
    });
    for (std::uint32_t i = 1; i <= kFrames; ++i) {
        CFrameBuf* frame = nullptr;
        ASSERT_TRUE(WaitUntil([&] { return (frame = m_queue->Peek()) != nullptr; }));
        ASSERT_EQ(frame->size, i);
        m_queue->Release();
    }
}

TEST_F(FrameQueue, LockerTakesTheFirstBufferAndHandsItOverWithItsOldSize)
{
    Buffer(0)->size = 7;
    {
        const CFrameBufferLocker locker(m_queue.get());
        EXPECT_EQ(locker.Frame(), Buffer(0));
        EXPECT_EQ(m_queue->Count(), 0);
    }
    EXPECT_EQ(m_queue->Count(), 1);
    EXPECT_EQ(Buffer(0)->size, 7u);
}

TEST_F(FrameQueue, LockerWithoutAFrameHandsNothingOver)
{
    {
        CFrameBufferLocker locker(m_queue.get());
        locker.CommitFrame(9);
        EXPECT_EQ(locker.Frame(), nullptr);
        EXPECT_EQ(Buffer(0)->size, 9u);
    }
    EXPECT_EQ(m_queue->Count(), 1);
}

TEST_F(FrameQueue, BufferHasZeroedSlackBehindItsCapacity)
{
    CFrameBuf buffer(3);
    EXPECT_EQ(buffer.size, 0u);
    for (std::size_t i = 0; i < CFrameBuf::kSlack; ++i)
        EXPECT_EQ(buffer.Data()[3 + i], 0);
}

}  // namespace
