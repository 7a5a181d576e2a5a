#include "runtime/sync_event.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "tests/runtime/system_calls.h"
#include "tests/support/wait_until.h"

namespace {

using system_calls::FailNext;
using test_support::WaitUntil;
using testing::ElementsAre;

class SyncEvent : public testing::Test {
protected:
    void SetUp() override { system_calls::Reset(); }
    void TearDown() override { system_calls::Reset(); }
};

std::chrono::nanoseconds RealTime()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

TEST_F(SyncEvent, Wait50WithoutATriggerReturnsFalseAfterAbout50Milliseconds)
{
    pSyncEvent event;
    const auto before = RealTime();
    EXPECT_FALSE(event.Wait(50));
    // The deadline counts whole microseconds.
    EXPECT_GE(RealTime() - before, std::chrono::microseconds(49999));
    const auto deadlines = system_calls::Deadlines();
    ASSERT_EQ(deadlines.size(), 1U);
    const auto deadline = std::chrono::seconds(deadlines[0].tv_sec) +
                          std::chrono::nanoseconds(deadlines[0].tv_nsec);
    EXPECT_GE(deadline - before, std::chrono::microseconds(49999));
}

TEST_F(SyncEvent, WaitWithANegativeTimeOutReturnsOnlyAfterATrigger)
{
    pSyncEvent event;
    pMutex mutex;
    bool waiting = false;
    bool triggered = false;
    bool result = false;
    bool returned_before_trigger = true;
    std::thread waiter([&] {
        const MutexGuard guard(mutex);
        waiting = true;
        result = event.Wait(mutex, -1);
        returned_before_trigger = !triggered;
    });
    ASSERT_TRUE(WaitUntil([&] {
        const MutexGuard guard(mutex);
        return waiting;
    }));
    // The waiter gave the mutex up, so it waits on the condition by now.
    {
        const MutexGuard guard(mutex);
        triggered = true;
        event.Trigger(mutex);
    }
    waiter.join();
    EXPECT_TRUE(result);
    EXPECT_FALSE(returned_before_trigger);
    EXPECT_TRUE(system_calls::Deadlines().empty());
}

TEST_F(SyncEvent, WaitUnderTheEventsOwnMutexIsEndedByATrigger)
{
    pSyncEvent event;
    std::atomic<bool> returned{false};
    bool result = false;
    std::thread waiter([&] {
        result = event.Wait(-1);
        returned = true;
    });
    // A trigger before the wait is lost.
    EXPECT_TRUE(WaitUntil([&] {
        event.Trigger();
        return returned.load();
    }));
    waiter.join();
    EXPECT_TRUE(result);
}

TEST_F(SyncEvent, TriggerWithoutAWaiterIsLost)
{
    pSyncEvent event;
    event.Trigger();
    EXPECT_FALSE(event.Wait(1));
}

TEST_F(SyncEvent, WaitOfZeroMillisecondsChecksAndReturnsFalse)
{
    pSyncEvent event;
    EXPECT_FALSE(event.Wait(0));
    EXPECT_EQ(system_calls::Deadlines().size(), 1U);
}

TEST_F(SyncEvent, TriggerWakesOneWaiter)
{
    pSyncEvent event;
    pMutex mutex;
    int waiting = 0;
    std::atomic<int> returned{0};
    const auto wait = [&] {
        const MutexGuard guard(mutex);
        ++waiting;
        event.Wait(mutex, -1);
        ++returned;
    };
    std::thread first(wait);
    std::thread second(wait);
    ASSERT_TRUE(WaitUntil([&] {
        const MutexGuard guard(mutex);
        return waiting == 2;
    }));
    event.Trigger(mutex);
    ASSERT_TRUE(WaitUntil([&] { return returned == 1; }));
    EXPECT_FALSE(WaitUntil([&] { return returned == 2; }, std::chrono::milliseconds(50)));
    event.Trigger(mutex);
    first.join();
    second.join();
    EXPECT_EQ(returned, 2);
}

TEST_F(SyncEvent, TriggerTakesTheGivenMutex)
{
    pSyncEvent event;
    pMutex mutex;
    std::atomic<bool> triggered{false};
    mutex.Acquire();
    std::thread other([&] {
        event.Trigger(mutex);
        triggered = true;
    });
    EXPECT_FALSE(WaitUntil([&] { return triggered.load(); }, std::chrono::milliseconds(50)));
    mutex.Release();
    other.join();
    EXPECT_TRUE(triggered);
}

TEST_F(SyncEvent, OwnMutexIsRecursive)
{
    pSyncEvent event;
    EXPECT_THAT(system_calls::MutexTypes(), ElementsAre(PTHREAD_MUTEX_RECURSIVE));
}

TEST_F(SyncEvent, DeadlineOf1500MillisecondsCarriesIntoTheSeconds)
{
    system_calls::QueueTime({10, 700000});
    const timespec deadline = pSyncEvent::makeTimespec(1500);
    EXPECT_EQ(deadline.tv_sec, 12);
    EXPECT_EQ(deadline.tv_nsec, 200000000);
}

TEST_F(SyncEvent, DeadlineWithoutACarry)
{
    system_calls::QueueTime({10, 700000});
    const timespec deadline = pSyncEvent::makeTimespec(299);
    EXPECT_EQ(deadline.tv_sec, 10);
    EXPECT_EQ(deadline.tv_nsec, 999000000);
}

TEST_F(SyncEvent, DeadlineOfExactlyOneSecondOfNanosecondsCarries)
{
    system_calls::QueueTime({10, 700000});
    const timespec deadline = pSyncEvent::makeTimespec(300);
    EXPECT_EQ(deadline.tv_sec, 11);
    EXPECT_EQ(deadline.tv_nsec, 0);
}

TEST_F(SyncEvent, InterruptedWaitRestartsItsWholeTimeOut)
{
    pSyncEvent event;
    system_calls::QueueTime({10, 0});
    system_calls::QueueTime({20, 0});
    FailNext(system_calls::kCondTimedWait, EINTR);
    EXPECT_FALSE(event.Wait(40));  // the second deadline lies in the past
    const auto deadlines = system_calls::Deadlines();
    ASSERT_EQ(deadlines.size(), 2U);
    EXPECT_EQ(deadlines[0].tv_sec, 10);
    EXPECT_EQ(deadlines[1].tv_sec, 20);
    EXPECT_EQ(deadlines[1].tv_nsec, 40000000);
}

TEST_F(SyncEvent, OtherErrorOfATimedWaitIsToldToTheFatalHookAndCountsAsWokenUp)
{
    pSyncEvent event;
    FailNext(system_calls::kCondTimedWait, EINVAL);
    EXPECT_TRUE(event.Wait(10));
    EXPECT_THAT(system_calls::FatalTexts(),
                ElementsAre(std::string(
                                "pthread_cond_wait()/pthread_cond_timedwait() failed (") +
                            std::strerror(EINVAL) + ")\n"));
}

TEST_F(SyncEvent, ErrorOfAnEndlessWaitIsToldToTheFatalHookAndCountsAsWokenUp)
{
    pSyncEvent event;
    FailNext(system_calls::kCondWait, EPERM);
    EXPECT_TRUE(event.Wait(-1));
    EXPECT_THAT(system_calls::FatalTexts(),
                ElementsAre(std::string(
                                "pthread_cond_wait()/pthread_cond_timedwait() failed (") +
                            std::strerror(EPERM) + ")\n"));
}

TEST_F(SyncEvent, FailedConditionIsToldToTheFatalHook)
{
    FailNext(system_calls::kCondInit, ENOMEM);
    pSyncEvent event;
    EXPECT_THAT(system_calls::FatalTexts(),
                ElementsAre(std::string("pthread_cond_init() failed (") + std::strerror(ENOMEM) +
                            ")\n"));
}

TEST_F(SyncEvent, FailedMutexAttributesAreToldToTheFatalHook)
{
    FailNext(system_calls::kMutexAttributesInit, ENOMEM);
    pSyncEvent event;
    EXPECT_THAT(system_calls::FatalTexts(), ElementsAre("pthread_mutexattr_init() failed\n"));
}

}  // namespace
