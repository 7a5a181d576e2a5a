// Starting a worker: priority, stack, failures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tests/runtime/system_calls.h"
#include "tests/runtime/worker.h"

namespace {

using system_calls::FailNext;
using testing::ElementsAre;

class ThreadStart : public testing::Test {
protected:
    void SetUp() override { system_calls::Reset(); }
    void TearDown() override { system_calls::Reset(); }
};

int DetachStateOfThisThread()
{
    int state = -1;
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getdetachstate(&attributes, &state);
    pthread_attr_destroy(&attributes);
    return state;
}

/// Stack sizes that were set for a worker made with this one.
std::vector<std::size_t> StackSizesSetFor(int stack_size)
{
    Worker worker([](Worker&) {}, false, stack_size);
    worker.Start("worker");
    worker.Stop();
    EXPECT_EQ(worker.ended, 1);
    return system_calls::StackSizes();
}

TEST_F(ThreadStart, RunsTheBodyOnAThreadOfItsOwn)
{
    pthread_t runner{};
    Worker worker([&runner](Worker&) { runner = pthread_self(); });
    EXPECT_EQ(worker.Start("worker"), 0);
    worker.Stop();
    EXPECT_EQ(worker.ended, 1);
    EXPECT_FALSE(pthread_equal(runner, pthread_self()));
}

TEST_F(ThreadStart, SetsTheCallingThreadsNiceValueToMinus19)
{
    Worker worker(Worker::UntilStopped);
    worker.Start("worker");
    worker.Stop();
    const auto calls = system_calls::PriorityCalls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].which, PRIO_PROCESS);
    EXPECT_EQ(calls[0].id, static_cast<unsigned>(syscall(SYS_gettid)));
    EXPECT_EQ(calls[0].nice, -19);
}

TEST_F(ThreadStart, FailedPriorityIsToldToTheFatalHookAndTheThreadRuns)
{
    Worker worker(Worker::UntilStopped);
    FailNext(system_calls::kSetPriority, EACCES);
    EXPECT_EQ(worker.Start("worker"), 0);
    worker.Stop();
    EXPECT_EQ(worker.ended, 1);
    EXPECT_THAT(system_calls::FatalTexts(),
                ElementsAre(std::string("setpriority() failed (") + std::strerror(EACCES) +
                            ")\n"));
}

TEST_F(ThreadStart, FailedCreationIsToldToTheFatalHookAndStopReturns)
{
    Worker worker(Worker::UntilStopped);
    FailNext(system_calls::kThreadCreate, EAGAIN);
    EXPECT_EQ(worker.Start("worker"), EAGAIN);
    EXPECT_THAT(system_calls::FatalTexts(),
                ElementsAre(std::string("pthread_create() failed (") + std::strerror(EAGAIN) +
                            ")\n"));
    worker.Stop();
    EXPECT_EQ(worker.started, 0);
}

TEST_F(ThreadStart, CanBeRepeatedAfterAFailedCreation)
{
    Worker worker(Worker::UntilStopped);
    FailNext(system_calls::kThreadCreate, EAGAIN);
    worker.Start("worker");
    EXPECT_EQ(worker.Start("worker"), 0);
    worker.Stop();
    EXPECT_EQ(worker.ended, 1);
}

TEST_F(ThreadStart, StackHasTheSizeAskedFor)
{
    EXPECT_THAT(StackSizesSetFor(3 << 20), ElementsAre(3U << 20));
}

TEST_F(ThreadStart, NegativeStackSizeKeepsTheSystemsDefault)
{
    EXPECT_THAT(StackSizesSetFor(-1), testing::IsEmpty());
}

TEST_F(ThreadStart, ZeroStackSizeKeepsTheSystemsDefault)
{
    EXPECT_THAT(StackSizesSetFor(0), testing::IsEmpty());
}

TEST_F(ThreadStart, JoinableWorkerIsNotDetachedAndCancelsOnlyAtCancellationPoints)
{
    int type = -1;
    int detach_state = -1;
    Worker worker([&](Worker&) {
        detach_state = DetachStateOfThisThread();
        pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &type);
    });
    worker.Start("worker");
    worker.Stop();
    EXPECT_EQ(detach_state, PTHREAD_CREATE_JOINABLE);
    EXPECT_EQ(type, PTHREAD_CANCEL_DEFERRED);
}

TEST_F(ThreadStart, DetachedWorkerIsDetachedAndCancelledAtAnyInstruction)
{
    int type = -1;
    int state = -1;
    int detach_state = -1;
    std::atomic<bool> looked{false};
    Worker worker(
        [&](Worker&) {
            pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &type);
            pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
            detach_state = DetachStateOfThisThread();
            looked = true;
        },
        true);
    worker.Start("worker");
    ASSERT_TRUE(test_support::WaitUntil([&] { return looked.load() && worker.ended == 1; }));
    EXPECT_EQ(detach_state, PTHREAD_CREATE_DETACHED);
    EXPECT_EQ(state, PTHREAD_CANCEL_ENABLE);
    EXPECT_EQ(type, PTHREAD_CANCEL_ASYNCHRONOUS);
}

TEST_F(ThreadStart, NameIsIgnored)
{
    char own[64] = {};
    char workers[64] = {};
    pthread_getname_np(pthread_self(), own, sizeof own);
    Worker worker([&](Worker&) { pthread_getname_np(pthread_self(), workers, sizeof workers); });
    worker.Start("another name");
    worker.Stop();
    EXPECT_STREQ(workers, own);
    EXPECT_EQ(worker.Start(nullptr), 0);
    worker.Stop();
    EXPECT_EQ(worker.ended, 2);
}

TEST_F(ThreadStart, ThreadFunctionRunsTheObjectItIsGiven)
{
    Worker worker([](Worker&) {});
    EXPECT_EQ(pThread::thread_func(&worker), nullptr);
    EXPECT_EQ(worker.ended, 1);
}

}  // namespace
