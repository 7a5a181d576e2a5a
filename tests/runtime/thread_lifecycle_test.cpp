// Stopping a worker, starting it again, sleeping.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include "runtime/started_threads.h"
#include "tests/runtime/system_calls.h"
#include "tests/runtime/worker.h"
#include "tests/support/sleeps.h"

namespace {

using test_support::FastSleeps;
using test_support::WaitUntil;

class ThreadLifecycle : public testing::Test {
protected:
    void SetUp() override { system_calls::Reset(); }
    void TearDown() override { system_calls::Reset(); }
};

TEST_F(ThreadLifecycle, StopOfAJoinableWorkerReturnsOnlyAfterItsRunHasReturned)
{
    std::atomic<bool> may_return{false};
    Worker worker([&](Worker& self) {
        Worker::UntilStopped(self);
        WaitUntil([&] { return may_return.load(); });
    });
    worker.Start("worker");
    std::atomic<bool> stopped{false};
    Worker stopper([&](Worker&) {
        worker.Stop();
        stopped = true;
    });
    stopper.Start("stopper");
    ASSERT_TRUE(WaitUntil([&] { return worker.StopRequested(); }));
    EXPECT_FALSE(WaitUntil([&] { return stopped.load(); }, std::chrono::milliseconds(50)));
    may_return = true;
    stopper.Stop();
    EXPECT_TRUE(stopped);
    EXPECT_EQ(worker.ended, 1);
}

TEST_F(ThreadLifecycle, StopSetsTheStopRequest)
{
    Worker worker(Worker::UntilStopped);
    EXPECT_FALSE(worker.StopRequested());
    worker.Start("worker");
    EXPECT_FALSE(worker.StopRequested());
    worker.Stop();
    EXPECT_TRUE(worker.StopRequested());
}

TEST_F(ThreadLifecycle, StartAfterStopClearsTheRequestAndRunsAgain)
{
    Worker worker(Worker::UntilStopped);
    worker.Start("worker");
    worker.Stop();
    worker.Start("worker");
    EXPECT_FALSE(worker.StopRequested());
    worker.Stop();
    EXPECT_EQ(worker.ended, 2);
}

TEST_F(ThreadLifecycle, StopOfANeverStartedWorkerSetsTheRequestAndReturns)
{
    Worker worker(Worker::UntilStopped);
    worker.Stop();
    EXPECT_TRUE(worker.StopRequested());
}

TEST_F(ThreadLifecycle, StopOfANeverStartedDetachedWorkerReturns)
{
    Worker worker(Worker::UntilStopped, true);
    worker.Stop();
    EXPECT_TRUE(worker.StopRequested());
}

TEST_F(ThreadLifecycle, SecondStopReturns)
{
    Worker worker(Worker::UntilStopped);
    worker.Start("worker");
    worker.Stop();
    worker.Stop();
    EXPECT_EQ(worker.ended, 1);
}

TEST_F(ThreadLifecycle, StopAfterTheBodyEndedByItselfReturns)
{
    Worker worker([](Worker&) {});
    worker.Start("worker");
    ASSERT_TRUE(WaitUntil([&] { return worker.ended == 1; }));
    worker.Stop();
    EXPECT_EQ(worker.ended, 1);
}

TEST_F(ThreadLifecycle, StopOnTheWorkerItselfOnlySetsTheRequest)
{
    bool requested = false;
    Worker worker([&requested](Worker& self) {
        self.Stop();
        requested = self.StopRequested();
    });
    worker.Start("worker");
    worker.Stop();
    EXPECT_TRUE(requested);
    EXPECT_EQ(worker.ended, 1);
}

TEST_F(ThreadLifecycle, WorkerKnowsItsOwnThread)
{
    bool on_worker = false;
    Worker worker([&on_worker](Worker& self) { on_worker = self.IsCurrentThread(); });
    worker.Start("worker");
    worker.Stop();
    EXPECT_TRUE(on_worker);
    EXPECT_FALSE(worker.IsCurrentThread());
}

TEST_F(ThreadLifecycle, DestructionStopsARunningWorker)
{
    std::atomic<int> ended{0};
    {
        Worker worker([&ended](Worker& self) {
            Worker::UntilStopped(self);
            ++ended;
        });
        worker.Start("worker");
    }
    EXPECT_EQ(ended, 1);
}

TEST_F(ThreadLifecycle, SecondStartLetsARunningWorkerGoOn)
{
    Worker worker(Worker::UntilStopped);
    worker.Start("worker");
    ASSERT_TRUE(WaitUntil([&] { return worker.started == 1; }));
    EXPECT_EQ(worker.Start("worker"), 0);
    worker.Stop();
    EXPECT_EQ(worker.started, 1);
    EXPECT_EQ(worker.ended, 1);
}

std::atomic<int> g_threads_gone{0};

void NoteThreadsEnd(void*)
{
    ++g_threads_gone;
}

TEST_F(ThreadLifecycle, StopOfADetachedWorkerCancelsIt)
{
    pthread_key_t key{};
    ASSERT_EQ(pthread_key_create(&key, NoteThreadsEnd), 0);
    g_threads_gone = 0;
    std::atomic<bool> inside{false};
    Worker worker(
        [&](Worker&) {
            static int value = 1;
            pthread_setspecific(key, &value);
            inside = true;
            for (;;)
                poll(nullptr, 0, 1000);  // never looks at the request
        },
        true);
    worker.Start("worker");
    ASSERT_TRUE(WaitUntil([&] { return inside.load(); }));
    worker.Stop();
    EXPECT_TRUE(WaitUntil([] { return g_threads_gone == 1; }));
    EXPECT_EQ(worker.ended, 0);
    pthread_key_delete(key);
}

TEST_F(ThreadLifecycle, StopOfADetachedWorkerThatHasEndedCancelsNobody)
{
    // More than the C library keeps stacks for, and somebody who may inherit
    // one of their ids.
    std::vector<std::unique_ptr<Worker>> workers;
    for (int i = 0; i < 30; ++i) {
        workers.push_back(std::make_unique<Worker>([](Worker&) {}, true));
        ASSERT_EQ(workers.back()->Start("worker"), 0);
    }
    ASSERT_TRUE(WaitUntil([&] {
        return std::all_of(workers.begin(), workers.end(),
                           [](const auto& worker) { return worker->ended == 1; });
    }));
    Worker bystander(Worker::UntilStopped);
    bystander.Start("bystander");
    ASSERT_TRUE(WaitUntil([&] { return bystander.started == 1; }));
    for (auto& worker : workers)
        worker->Stop();
    workers.clear();
    bystander.Stop();
    EXPECT_EQ(bystander.ended, 1);
}

TEST_F(ThreadLifecycle, DetachedWorkerStoppedBeforeItsBodyNeverBegins)
{
    StartedThreads threads;
    const Worker worker([](Worker&) {}, true);
    threads.Add(threads.MakeEntry(&worker, StartedThreads::Ending::kForgotten),
                pthread_self());
    threads.Cancel(&worker, pthread_self());
    EXPECT_FALSE(threads.Begin(pthread_self()));
    EXPECT_TRUE(threads.Begin(pthread_self())) << "that was the id's last owner";
    threads.Cancel(&worker, pthread_self());
    threads.End(pthread_self());
}

TEST_F(ThreadLifecycle, WorkerWhoseBodyEndedCanBeStartedAgain)
{
    Worker worker([](Worker&) {});
    for (int i = 1; i <= 3; ++i) {
        // The thread may still be on its way out when its body has ended.
        ASSERT_TRUE(WaitUntil([&] {
            return worker.Start("worker") == 0 && worker.started >= i;
        }));
        ASSERT_TRUE(WaitUntil([&] { return worker.ended == worker.started; }));
    }
}

/// Deletes itself at the end of its work.
class Selfish : public pThread {
public:
    explicit Selfish(std::atomic<bool>& gone) : pThread(true, -1), m_gone(gone) {}
    ~Selfish() override
    {
        Stop();
        m_gone = true;
    }
    void Run() override { delete this; }

private:
    std::atomic<bool>& m_gone;
};

TEST_F(ThreadLifecycle, DetachedWorkerMayDeleteItself)
{
    for (int i = 0; i < 50; ++i) {
        std::atomic<bool> gone{false};
        (new Selfish(gone))->Start("worker");
        ASSERT_TRUE(WaitUntil([&] { return gone.load(); }));
    }
}

TEST_F(ThreadLifecycle, Sleep2500Sleeps2SecondsAnd500000000Nanoseconds)
{
    const FastSleeps sleeps(1000);
    EXPECT_EQ(pThread::Sleep(2500), 0);
    const auto naps = system_calls::Naps();
    ASSERT_EQ(naps.size(), 1U);
    EXPECT_EQ(naps[0].tv_sec, 2);
    EXPECT_EQ(naps[0].tv_nsec, 500000000);
}

TEST_F(ThreadLifecycle, SleepReturnsTheSystemsResultWhenInterrupted)
{
    system_calls::FailNext(system_calls::kNanosleep, EINTR);
    EXPECT_EQ(pThread::Sleep(10), -1);
    EXPECT_EQ(system_calls::Naps().size(), 1U);
}

}  // namespace
