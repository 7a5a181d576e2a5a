// Workers that have ended, and others to whose threads the system has given
// their ids.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>

#include "tests/runtime/thread_ledger.h"
#include "tests/runtime/worker.h"

namespace {

using test_support::WaitUntil;

/// A worker that notes its thread and goes on turning, asking what it is told
/// to ask, until it is released. It never looks at the stop request.
class Turning {
public:
    explicit Turning(bool detached)
        : worker(
              [this](Worker&) {
                  m_id = pthread_self();
                  m_number = thread_ledger::OwnNumber();
                  if (on_thread)
                      on_thread();
                  while (!m_released) {
                      ++m_turns;
                      poll(nullptr, 0, 1);
                  }
              },
              detached)
    {
    }
    ~Turning()
    {
        if (m_number != 0)
            EndThread();
    }

    testing::AssertionResult Start()
    {
        if (worker.Start("turning") != 0 || !WaitUntil([this] { return m_turns > 0; }))
            return testing::AssertionFailure() << "the worker does not run";
        return testing::AssertionSuccess();
    }
    /// Run returns; of a joinable worker the thread is there still, to be joined.
    testing::AssertionResult EndThread()
    {
        m_released = true;
        if (!WaitUntil([this] { return !thread_ledger::Exists(m_number); }))
            return testing::AssertionFailure() << "the thread does not end";
        return testing::AssertionSuccess();
    }
    testing::AssertionResult GoesOn() const
    {
        const int before = m_turns;
        if (WaitUntil([&] {
                return m_turns > before + 3 || !thread_ledger::Exists(m_number);
            }) &&
            m_turns > before + 3)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "the thread was cancelled";
    }
    pthread_t Id() const { return m_id; }

    std::function<void()> on_thread;

private:
    std::atomic<pthread_t> m_id{};
    std::atomic<pid_t> m_number{0};
    std::atomic<int> m_turns{0};
    std::atomic<bool> m_released{false};

public:
    Worker worker;  // last: its thread uses all the others
};

class InheritedId : public testing::Test {
protected:
    void SetUp() override { thread_ledger::Reset(); }
    void TearDown() override
    {
        if (m_heir) {
            EXPECT_TRUE(m_heir->EndThread());
        }
        m_ended.reset();
        m_heir.reset();
        EXPECT_EQ(thread_ledger::JoinsOfNoThread(), 0);
    }

    /// Which thread gets a free id is the system's choice, so: until it has
    /// chosen as the test needs it. `leave` makes the id free.
    template <typename Leave>
    void Inherit(bool detached, Leave leave)
    {
        constexpr int kAttempts = 200;
        for (int i = 0; i < kAttempts; ++i) {
            m_ended = std::make_unique<Turning>(detached);
            ASSERT_TRUE(m_ended->Start());
            ASSERT_TRUE(m_ended->EndThread());
            leave(m_ended->worker);
            m_heir = std::make_unique<Turning>(detached);
            m_heir->on_thread = m_on_heir;
            ASSERT_TRUE(m_heir->Start());
            if (pthread_equal(m_heir->Id(), m_ended->Id()) != 0)
                return;
            ASSERT_TRUE(m_heir->EndThread());
            m_heir->worker.Stop();
        }
        FAIL() << "the system gives the id to nobody";
    }
    void InheritFromDetached()
    {
        Inherit(true, [](Worker&) {});
    }
    /// The joinable worker was joined for a second start, which failed.
    void InheritFromFailedRestart()
    {
        Inherit(false, [](Worker& worker) {
            thread_ledger::RefuseNextThread();
            EXPECT_EQ(worker.Start("ended"), EAGAIN);
        });
        thread_ledger::Reset();
    }
    /// What the old worker holds the heir's thread for, asked there.
    void AskOnHeir()
    {
        m_on_heir = [this] { m_taken_for_own = m_ended->worker.IsCurrentThread(); };
    }

    std::function<void()> m_on_heir;
    std::atomic<bool> m_taken_for_own{false};
    std::unique_ptr<Turning> m_ended;
    std::unique_ptr<Turning> m_heir;
};

TEST_F(InheritedId, StopOfTheDetachedWorkerThatEndedLeavesTheHeirAlone)
{
    ASSERT_NO_FATAL_FAILURE(InheritFromDetached());
    m_ended->worker.Stop();
    EXPECT_TRUE(m_heir->GoesOn());
}

TEST_F(InheritedId, DeletionOfTheDetachedWorkerThatEndedLeavesTheHeirAlone)
{
    ASSERT_NO_FATAL_FAILURE(InheritFromDetached());
    m_ended.reset();
    EXPECT_TRUE(m_heir->GoesOn());
}

TEST_F(InheritedId, StopAfterAFailedRestartLeavesTheHeirOfADetachedWorkerAlone)
{
    ASSERT_NO_FATAL_FAILURE(InheritFromDetached());
    thread_ledger::RefuseNextThread();
    EXPECT_EQ(m_ended->worker.Start("ended"), EAGAIN);
    m_ended->worker.Stop();
    EXPECT_TRUE(m_heir->GoesOn());
}

TEST_F(InheritedId, DetachedWorkerThatEndedDoesNotTakeTheHeirForItself)
{
    AskOnHeir();
    ASSERT_NO_FATAL_FAILURE(InheritFromDetached());
    EXPECT_FALSE(m_taken_for_own);
}

TEST_F(InheritedId, StopOnTheHeirStopsTheWorkerThatEndedForGood)
{
    std::atomic<bool> requested{false};
    m_on_heir = [&] {
        m_ended->worker.Stop();
        requested = m_ended->worker.StopRequested();
        m_taken_for_own = m_ended->worker.IsCurrentThread();
    };
    ASSERT_NO_FATAL_FAILURE(InheritFromDetached());
    EXPECT_TRUE(requested);
    EXPECT_FALSE(m_taken_for_own);
    m_ended->worker.Stop();
    EXPECT_TRUE(m_heir->GoesOn());
}

TEST_F(InheritedId, WorkerThatFailedToRestartDoesNotTakeTheHeirForItself)
{
    AskOnHeir();
    ASSERT_NO_FATAL_FAILURE(InheritFromFailedRestart());
    EXPECT_FALSE(m_taken_for_own);
}

TEST_F(InheritedId, WorkerThatFailedToRestartDoesNotJoinTheHeir)
{
    ASSERT_NO_FATAL_FAILURE(InheritFromFailedRestart());
    std::atomic<bool> stopped{false};
    std::thread stopper([&] {
        m_ended->worker.Stop();
        stopped = true;
    });
    EXPECT_TRUE(WaitUntil([&] { return stopped || thread_ledger::Joins() > 0; }));
    EXPECT_EQ(thread_ledger::Joins(), 0);
    EXPECT_TRUE(m_heir->GoesOn());
    EXPECT_TRUE(m_heir->EndThread());  // whoever joins it can go on now
    stopper.join();
}

}  // namespace
