// Starting a worker again: while its last thread is on its way out, while it
// runs, when the system has no thread for it, and not at all, because it is
// gone.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include "tests/runtime/thread_ledger.h"
#include "tests/runtime/worker.h"
#include "tests/video/gate.h"

namespace {

using test_support::kPatience;
using test_support::WaitUntil;

class ThreadRestart : public testing::Test {
protected:
    void SetUp() override
    {
        thread_ledger::Reset();
        m_joinable_before = thread_ledger::Joinable();
    }
    /// Threads of this test that nobody has joined or detached.
    int LeftToJoin() const { return thread_ledger::Joinable() - m_joinable_before; }

private:
    int m_joinable_before = 0;
};

/// Without a pause, so that what follows comes right behind the event.
template <typename Predicate>
bool SpinUntil(Predicate predicate)
{
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!predicate()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return predicate();
    }
    return true;
}

/// Says that a thread has left its routine, and with it Run, and may hold it
/// there, before the system sees its end. Run itself cannot say that it has
/// returned: who acts on its last statement may still be ahead of it.
struct WayOut {
    std::atomic<bool>* reached = nullptr;
    Gate* gate = nullptr;
    ~WayOut()
    {
        if (reached != nullptr)
            *reached = true;
        if (gate != nullptr)
            gate->Pass();
    }
};
thread_local WayOut t_way_out;

enum Kind { kJoinable, kDetached };

std::string NameOf(const testing::TestParamInfo<Kind>& info)
{
    return info.param == kDetached ? "Detached" : "Joinable";
}

class EitherWorker : public ThreadRestart, public testing::WithParamInterface<Kind> {
protected:
    bool Detached() const { return GetParam() == kDetached; }
};
INSTANTIATE_TEST_SUITE_P(ThreadRestart, EitherWorker, testing::Values(kJoinable, kDetached),
                         NameOf);

TEST_P(EitherWorker, RunsAgainWhenItsLastThreadIsStillOnItsWayOut)
{
    Gate way_out;
    std::atomic<pid_t> last{0};
    Worker worker(
        [&](Worker& self) {
            last = thread_ledger::OwnNumber();
            if (self.started == 1)
                t_way_out.gate = &way_out;
        },
        Detached());
    ASSERT_EQ(worker.Start("worker"), 0);
    ASSERT_TRUE(way_out.WaitArrived());
    ASSERT_EQ(worker.ended, 1);

    // The start may have to wait for the old thread.
    std::atomic<bool> entered{false};
    std::atomic<bool> returned{false};
    std::atomic<int> result{-1};
    std::thread starter([&] {
        entered = true;
        result = worker.Start("worker");
        returned = true;
    });
    EXPECT_TRUE(WaitUntil([&] { return entered.load(); }));
    WaitUntil([&] { return returned || thread_ledger::Joins() > 0; },
              std::chrono::milliseconds(200));
    way_out.Open();
    starter.join();
    EXPECT_EQ(result, 0);
    if (Detached())
        EXPECT_TRUE(WaitUntil([&] { return worker.ended == 2; }));
    else
        worker.Stop();  // returns when Run has
    EXPECT_EQ(worker.started, 2);
    EXPECT_TRUE(WaitUntil([&] { return !thread_ledger::Exists(last); }));
    EXPECT_EQ(thread_ledger::JoinsOfNoThread(), 0);
    EXPECT_EQ(LeftToJoin(), 0);
}

TEST_P(EitherWorker, RunsAgainWheneverItIsStartedRightBehindItsRun)
{
    constexpr int kRounds = 500;
    int not_run = 0;
    for (int i = 0; i < kRounds; ++i) {
        // Both threads are awake, each on a processor of its own where there
        // are two, when Run returns.
        std::atomic<bool> awake{false};
        std::atomic<bool> returned{false};
        Worker worker(
            [&](Worker& self) {
                if (self.started == 1)
                    t_way_out.reached = &returned;
                SpinUntil([&] { return awake.load(); });
            },
            Detached());
        ASSERT_EQ(worker.Start("worker"), 0);
        ASSERT_TRUE(WaitUntil([&] { return worker.started == 1; }));
        awake = true;
        ASSERT_TRUE(SpinUntil([&] { return returned.load(); }));
        ASSERT_EQ(worker.Start("worker"), 0);
        if (Detached())
            ASSERT_TRUE(WaitUntil([&] { return worker.ended == 2; }));
        else
            worker.Stop();
        if (worker.ended != 2)
            ++not_run;
    }
    EXPECT_EQ(not_run, 0);
    EXPECT_EQ(thread_ledger::JoinsOfNoThread(), 0);
    EXPECT_EQ(LeftToJoin(), 0);
}

TEST_F(ThreadRestart, DetachedWorkerThatRunsIsNotStartedASecondTime)
{
    Gate inside;
    Worker worker([&](Worker&) { inside.Pass(); }, true);
    ASSERT_EQ(worker.Start("worker"), 0);
    ASSERT_TRUE(inside.WaitArrived());
    EXPECT_EQ(worker.Start("worker"), 0);
    EXPECT_EQ(thread_ledger::Created(), 1);
    inside.Open();
    EXPECT_TRUE(WaitUntil([&] { return worker.ended == thread_ledger::Created(); }));
    EXPECT_EQ(worker.started, 1);
}

TEST_F(ThreadRestart, DetachedWorkerIsNotStartedASecondTimeBeforeItHasBegun)
{
    Gate inside;
    Worker worker([&](Worker&) { inside.Pass(); }, true);
    ASSERT_EQ(worker.Start("worker"), 0);
    EXPECT_EQ(worker.Start("worker"), 0);
    EXPECT_EQ(thread_ledger::Created(), 1);
    inside.Open();
    EXPECT_TRUE(WaitUntil([&] { return worker.ended == thread_ledger::Created(); }));
    EXPECT_EQ(worker.started, 1);
}

TEST_F(ThreadRestart, DetachedWorkerThatWasCancelledRunsAgain)
{
    std::atomic<pid_t> numbers[2] = {};
    Worker worker(
        [&](Worker& self) {
            const int run = self.started;
            numbers[run - 1] = thread_ledger::OwnNumber();
            while (run == 1)
                poll(nullptr, 0, 1000);  // until it is cancelled
        },
        true);
    ASSERT_EQ(worker.Start("worker"), 0);
    ASSERT_TRUE(WaitUntil([&] { return numbers[0] != 0; }));
    worker.Stop();
    ASSERT_EQ(worker.Start("worker"), 0);
    EXPECT_FALSE(worker.StopRequested());
    EXPECT_TRUE(WaitUntil([&] { return worker.ended == 1; }));
    EXPECT_EQ(worker.started, 2);
    EXPECT_TRUE(WaitUntil([&] {
        return !thread_ledger::Exists(numbers[0]) && !thread_ledger::Exists(numbers[1]);
    }));
}

/// A joinable worker whose thread has ended and that is then refused another.
class FailedRestart : public ThreadRestart {
protected:
    void SetUp() override
    {
        ThreadRestart::SetUp();
        m_worker = std::make_unique<Worker>(
            [this](Worker&) { m_number = thread_ledger::OwnNumber(); });
        ASSERT_EQ(m_worker->Start("worker"), 0);
        ASSERT_TRUE(WaitUntil([&] {
            return m_worker->ended == 1 && !thread_ledger::Exists(m_number);
        }));
        thread_ledger::RefuseNextThread();
        ASSERT_EQ(m_worker->Start("worker"), EAGAIN);
        ASSERT_EQ(LeftToJoin(), 0) << "the last thread was not joined";
    }

    std::atomic<pid_t> m_number{0};
    std::unique_ptr<Worker> m_worker;
};

TEST_F(FailedRestart, LeavesNothingForStopToJoin)
{
    m_worker->Stop();
    EXPECT_EQ(thread_ledger::JoinsOfNoThread(), 0);
    EXPECT_EQ(m_worker->started, 1);
}

TEST_F(FailedRestart, LeavesNothingForTheDestructorToJoin)
{
    m_worker.reset();
    EXPECT_EQ(thread_ledger::JoinsOfNoThread(), 0);
}

TEST_F(FailedRestart, IsFollowedByAStartThatJoinsNothingAndRuns)
{
    EXPECT_EQ(m_worker->Start("worker"), 0);
    EXPECT_EQ(thread_ledger::JoinsOfNoThread(), 0);
    m_worker->Stop();
    EXPECT_EQ(m_worker->ended, 2);
}

/// Deletes itself in its Run. It lies on pages of its own, which nobody can
/// reach from then on: whoever touches it ends the process.
class SelfDeleting : public pThread {
public:
    SelfDeleting(bool detached, std::atomic<pid_t>& number)
        : pThread(detached, -1), m_number(number)
    {
    }
    ~SelfDeleting() override { Stop(); }
    void Run() override
    {
        m_number = thread_ledger::OwnNumber();
        delete this;
    }

    static void* operator new(std::size_t size)
    {
        void* const pages = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED)
            throw std::bad_alloc();
        return pages;
    }
    static void operator delete(void* pages, std::size_t size)
    {
        ASSERT_EQ(mprotect(pages, size, PROT_NONE), 0);
    }

private:
    std::atomic<pid_t>& m_number;
};

TEST_P(EitherWorker, ThatDeletesItselfLeavesNoThreadBehind)
{
    for (int i = 0; i < 20; ++i) {
        std::atomic<pid_t> number{0};
        ASSERT_EQ((new SelfDeleting(Detached(), number))->Start("worker"), 0);
        ASSERT_TRUE(WaitUntil([&] { return number != 0 && !thread_ledger::Exists(number); }));
    }
    EXPECT_EQ(LeftToJoin(), 0);
}

TEST_P(EitherWorker, ThatDeletesItselfMayDoSoBeforeItsStartReturns)
{
    std::atomic<pid_t> number{0};
    const auto gone = [&] { return number != 0 && !thread_ledger::Exists(number); };
    // A start that has more to do with the worker keeps its thread waiting.
    thread_ledger::AfterNextThread([&] { WaitUntil(gone, std::chrono::milliseconds(50)); });
    ASSERT_EQ((new SelfDeleting(Detached(), number))->Start("worker"), 0);
    EXPECT_TRUE(WaitUntil(gone));
}

}  // namespace
