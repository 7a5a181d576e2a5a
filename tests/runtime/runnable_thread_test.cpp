#include "runtime/runnable_thread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <functional>

#include "tests/runtime/system_calls.h"
#include "tests/support/sleeps.h"
#include "tests/support/wait_until.h"

namespace {

using system_calls::FailNext;
using test_support::FastSleeps;
using test_support::WaitUntil;
using testing::ElementsAre;

// Taken before main, when nobody made a thread object yet.
const std::array<int, 2> g_first_numbers{CThread::getNextThreadNum(),
                                         CThread::getNextThreadNum()};

struct Task : Runnable {
    explicit Task(std::function<void()> body) : m_body(std::move(body)) {}
    void run() override
    {
        m_body();
        ++runs;
    }
    std::atomic<int> runs{0};
    const std::function<void()> m_body;
};

class RunnableThread : public testing::Test {
protected:
    void SetUp() override { system_calls::Reset(); }
    void TearDown() override { system_calls::Reset(); }
};

TEST_F(RunnableThread, FirstNumberIsZeroAndTheSecondOne)
{
    EXPECT_THAT(g_first_numbers, ElementsAre(0, 1));
}

TEST_F(RunnableThread, EachObjectTakesOneNumber)
{
    const int before = CThread::getNextThreadNum();
    CThread first;
    CThread second(nullptr);
    EXPECT_EQ(CThread::getNextThreadNum(), before + 3);
}

TEST_F(RunnableThread, EqualityComparesNumbers)
{
    CThread first;
    CThread second;
    EXPECT_TRUE(first == &first);
    EXPECT_FALSE(first == &second);
    EXPECT_FALSE(first == nullptr);
}

TEST_F(RunnableThread, NewObjectIsCreatedAndHasNoThread)
{
    CThread thread;
    EXPECT_EQ(thread.getState(), 0);
    EXPECT_EQ(thread.getThreadID(), pthread_t());
}

TEST_F(RunnableThread, RunsItsRunnable)
{
    Task task([] {});
    CThread thread(&task);
    EXPECT_TRUE(thread.start());
    thread.join();
    EXPECT_EQ(task.runs, 1);
}

TEST_F(RunnableThread, RunsItsOwnOverriddenRun)
{
    struct Own : CThread {
        void run() override { ran = true; }
        std::atomic<bool> ran{false};
    } thread;
    EXPECT_TRUE(thread.start());
    thread.join();
    EXPECT_TRUE(thread.ran);
}

TEST_F(RunnableThread, WithoutARunnableItEndsAtOnce)
{
    CThread thread;
    EXPECT_TRUE(thread.start());
    thread.join();
    EXPECT_EQ(thread.getState(), -1);
}

TEST_F(RunnableThread, WhileRunningItsStateIsOneAndItsThreadIsKnown)
{
    std::atomic<bool> leave{false};
    pthread_t inside{};
    Task task([&] {
        inside = CThread::getCurrentThreadID();
        WaitUntil([&] { return leave.load(); });
    });
    CThread thread(&task);
    thread.start();
    ASSERT_TRUE(WaitUntil([&] { return thread.getState() == 1; }));
    const pthread_t known = thread.getThreadID();
    leave = true;
    thread.join();
    EXPECT_TRUE(pthread_equal(known, inside));
}

TEST_F(RunnableThread, FinishedItsStateIsMinusOneAndItsThreadIsForgotten)
{
    Task task([] {});
    CThread thread(&task);
    thread.start();
    thread.join();
    EXPECT_EQ(thread.getState(), -1);
    EXPECT_EQ(thread.getThreadID(), pthread_t());
}

TEST_F(RunnableThread, StartSetsTheCallingThreadsNiceValueToMinus19)
{
    CThread thread;
    thread.start();
    thread.join();
    const auto calls = system_calls::PriorityCalls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].which, PRIO_PROCESS);
    EXPECT_EQ(calls[0].id, static_cast<unsigned>(syscall(SYS_gettid)));
    EXPECT_EQ(calls[0].nice, -19);
}

TEST_F(RunnableThread, StartFailsWithoutAThreadWhenThePriorityCannotBeSet)
{
    Task task([] {});
    CThread thread(&task);
    FailNext(system_calls::kSetPriority, EPERM);
    EXPECT_FALSE(thread.start());
    thread.join();
    EXPECT_EQ(task.runs, 0);
    EXPECT_EQ(thread.getState(), 0);
    EXPECT_THAT(system_calls::FatalTexts(),
                ElementsAre(std::string("setpriority() failed (") + std::strerror(EPERM) +
                            ")\n"));
}

TEST_F(RunnableThread, StartFailsWhenTheThreadCannotBeCreated)
{
    CThread thread;
    FailNext(system_calls::kThreadCreate, EAGAIN);
    EXPECT_FALSE(thread.start());
    thread.join();
    EXPECT_EQ(thread.getState(), 0);
}

TEST_F(RunnableThread, JoinBeforeStartReturns)
{
    CThread thread;
    thread.join();
    thread.join(0);
    EXPECT_EQ(thread.getState(), 0);
}

TEST_F(RunnableThread, JoinOfZeroWaitsForTheEnd)
{
    Task task([] {});
    CThread thread(&task);
    thread.start();
    thread.join(0);
    EXPECT_EQ(task.runs, 1);
    EXPECT_EQ(thread.getState(), -1);
}

TEST_F(RunnableThread, JoinWithALimitPollsEvery100MicrosecondsUntilMoreThanThatManyPolls)
{
    std::atomic<bool> leave{false};
    Task task([&] { WaitUntil([&] { return leave.load(); }); });
    CThread thread(&task);
    thread.start();
    {
        const FastSleeps sleeps(1);
        thread.join(10);
        EXPECT_EQ(sleeps.Count(std::chrono::microseconds(100)), 11U);
        EXPECT_EQ(sleeps.All().size(), 11U);
    }
    EXPECT_NE(thread.getState(), -1);
    leave = true;
    thread.join();
}

TEST_F(RunnableThread, JoinWithALimitReturnsWithoutPollingWhenFinished)
{
    CThread thread;
    thread.start();
    ASSERT_TRUE(WaitUntil([&] { return thread.getState() == -1; }));
    const FastSleeps sleeps(1);
    thread.join(1000);
    EXPECT_TRUE(sleeps.All().empty());
}

TEST_F(RunnableThread, JoinWithALimitReturnsSoonAfterTheEnd)
{
    Task task([] {});
    CThread thread(&task);
    thread.start();
    thread.join(1000000);
    EXPECT_EQ(thread.getState(), -1);
}

TEST_F(RunnableThread, PriorityIsKeptInTheAttributes)
{
    CThread thread;
    EXPECT_EQ(thread.getThreadPriority(), 0);
    thread.setThreadPriority(0);
    EXPECT_EQ(thread.getThreadPriority(), 0);
}

TEST_F(RunnableThread, ScopeIsTrueForSystemContention)
{
    CThread thread;
    system_calls::AnswerScope(PTHREAD_SCOPE_SYSTEM);
    EXPECT_TRUE(thread.getThreadScope());
    system_calls::AnswerScope(PTHREAD_SCOPE_PROCESS);
    EXPECT_FALSE(thread.getThreadScope());
}

TEST_F(RunnableThread, ScopeIsSetToSystemForTrueAndToProcessForFalse)
{
    CThread thread;
    thread.setThreadScope(true);
    thread.setThreadScope(false);
    EXPECT_THAT(system_calls::Scopes(), ElementsAre(PTHREAD_SCOPE_SYSTEM, PTHREAD_SCOPE_PROCESS));
}

TEST_F(RunnableThread, IsEqualsIsTrueOnTheThreadOfTheOtherObject)
{
    CThread other;
    CThread* self = nullptr;
    bool equals_own = false;
    bool equals_other = true;
    Task task([&] {
        WaitUntil([&] { return self->getState() == 1; });
        equals_own = other.isEquals(self);
        equals_other = self->isEquals(&other);
    });
    CThread thread(&task);
    self = &thread;
    thread.start();
    thread.join();
    EXPECT_TRUE(equals_own);
    EXPECT_FALSE(equals_other);
}

TEST_F(RunnableThread, IsEqualsIsFalseForNull)
{
    CThread thread;
    EXPECT_FALSE(thread.isEquals(nullptr));
}

}  // namespace
