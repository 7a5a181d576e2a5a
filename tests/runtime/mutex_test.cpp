#include "runtime/mutex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include "tests/runtime/system_calls.h"
#include "tests/support/wait_until.h"

namespace {

using test_support::WaitUntil;
using testing::ElementsAre;

class Mutexes : public testing::Test {
protected:
    void SetUp() override { system_calls::Reset(); }
    void TearDown() override { system_calls::Reset(); }
};

/// Whether another thread gets the mutex without waiting.
bool IsFree(pMutex& mutex)
{
    int result = 0;
    std::thread other([&] {
        result = pthread_mutex_trylock(mutex.Native());
        if (result == 0)
            pthread_mutex_unlock(mutex.Native());
    });
    other.join();
    return result == 0;
}

TEST_F(Mutexes, RecursiveOneIsMadeRecursive)
{
    pMutex mutex;
    EXPECT_THAT(system_calls::MutexTypes(), ElementsAre(PTHREAD_MUTEX_RECURSIVE));
}

TEST_F(Mutexes, RecursiveOneCanBeTakenTwiceByOneThread)
{
    pMutex mutex;
    EXPECT_TRUE(mutex.Acquire());
    EXPECT_TRUE(mutex.Acquire());
    mutex.Release();
    EXPECT_FALSE(IsFree(mutex));
    mutex.Release();
    EXPECT_TRUE(IsFree(mutex));
}

TEST_F(Mutexes, AcquireReturnsTrueWhenTheLockFails)
{
    pMutex mutex;
    system_calls::FailNext(system_calls::kMutexLock, EAGAIN);
    EXPECT_TRUE(mutex.Acquire());
    EXPECT_TRUE(IsFree(mutex));
}

// As at the end of the process, when the library's own mutexes are gone.
TEST_F(Mutexes, PairGuardDoesNotWaitForLocksThatFail)
{
    pMutex first;
    pMutex second;
    second.Acquire();  // for the guard, which releases what it could not lock
    system_calls::FailNext(system_calls::kMutexTryLock, EINVAL);
    {
        const MutexPairGuard guard(first, second);
    }
    EXPECT_THAT(system_calls::FatalTexts(),
                ElementsAre(std::string("pthread_mutex_lock() failed (") + std::strerror(EINVAL) +
                            ")\n"));
}

TEST_F(Mutexes, FailedLockIsToldToTheFatalHook)
{
    pMutex mutex;
    system_calls::FailNext(system_calls::kMutexLock, EAGAIN);
    mutex.Acquire();
    EXPECT_THAT(system_calls::FatalTexts(),
                ElementsAre(std::string("pthread_mutex_lock() failed (") + std::strerror(EAGAIN) +
                            ")\n"));
}

TEST_F(Mutexes, FailedAttributesAreToldToTheFatalHookAndTheMutexStillWorks)
{
    system_calls::FailNext(system_calls::kMutexAttributesInit, ENOMEM);
    pMutex mutex;
    EXPECT_THAT(system_calls::FatalTexts(), ElementsAre("pthread_mutexattr_init() failed\n"));
    mutex.Acquire();
    EXPECT_FALSE(IsFree(mutex));
    mutex.Release();
    EXPECT_TRUE(IsFree(mutex));
}

TEST_F(Mutexes, GuardHoldsTheMutexForItsScope)
{
    pMutex mutex;
    {
        const MutexGuard guard(mutex);
        EXPECT_FALSE(IsFree(mutex));
    }
    EXPECT_TRUE(IsFree(mutex));
}

TEST_F(Mutexes, TryAcquireTakesAFreeOneAndLeavesATakenOne)
{
    pMutex mutex;
    ASSERT_TRUE(mutex.TryAcquire());
    std::thread other([&] { EXPECT_FALSE(mutex.TryAcquire()); });
    other.join();
    mutex.Release();
    EXPECT_TRUE(IsFree(mutex));
}

TEST_F(Mutexes, PairGuardHoldsBothForItsScope)
{
    pMutex first;
    pMutex second;
    {
        const MutexPairGuard guard(first, second);
        EXPECT_FALSE(IsFree(first));
        EXPECT_FALSE(IsFree(second));
    }
    EXPECT_TRUE(IsFree(first));
    EXPECT_TRUE(IsFree(second));
}

TEST_F(Mutexes, PairGuardCanBeNestedInOneThread)
{
    pMutex first;
    pMutex second;
    const MutexGuard outer(second);
    const MutexPairGuard guard(first, second);
    EXPECT_FALSE(IsFree(first));
}

TEST_F(Mutexes, PairGuardDoesNotKeepTheFirstWhileItWaitsForTheSecond)
{
    pMutex first;
    pMutex second;
    std::atomic<bool> inside{false};
    second.Acquire();
    std::thread other([&] {
        const MutexPairGuard guard(first, second);
        inside = true;
    });
    EXPECT_TRUE(WaitUntil([&] { return IsFree(first); }));
    EXPECT_FALSE(inside);
    // In the reverse order, as the pair would otherwise be blocked for good.
    first.Acquire();
    first.Release();
    second.Release();
    other.join();
    EXPECT_TRUE(inside);
}

TEST_F(Mutexes, PairGuardsInOppositeOrdersDoNotBlockEachOther)
{
    pMutex first;
    pMutex second;
    int counter = 0;
    const auto count = [&counter](pMutex& one, pMutex& other) {
        for (int i = 0; i < 5000; ++i) {
            const MutexPairGuard guard(one, other);
            ++counter;
        }
    };
    std::thread forward([&] { count(first, second); });
    std::thread backward([&] { count(second, first); });
    forward.join();
    backward.join();
    EXPECT_EQ(counter, 10000);
}

TEST_F(Mutexes, PlainOneIsMadeOfTheNormalType)
{
    CamMutex mutex;
    EXPECT_THAT(system_calls::MutexTypes(), ElementsAre(PTHREAD_MUTEX_NORMAL));
}

TEST_F(Mutexes, PlainOneFailedAttributesAreToldToTheFatalHook)
{
    system_calls::FailNext(system_calls::kMutexAttributesInit, ENOMEM);
    CamMutex mutex;
    EXPECT_THAT(system_calls::FatalTexts(), ElementsAre("pthread_mutexattr_init() failed\n"));
}

TEST_F(Mutexes, PlainOneExcludesOtherThreads)
{
    CamMutex mutex;
    int counter = 0;
    const auto count = [&] {
        for (int i = 0; i < 10000; ++i) {
            const CamMutexGuard guard(mutex);
            ++counter;
        }
    };
    std::thread first(count);
    std::thread second(count);
    first.join();
    second.join();
    EXPECT_EQ(counter, 20000);
}

TEST_F(Mutexes, PlainOneCreateIsTrueAndDestroyLeavesItUsable)
{
    CamMutex mutex;
    EXPECT_TRUE(mutex.Create());
    mutex.Destroy();
    mutex.Lock();
    mutex.Unlock();
    EXPECT_TRUE(system_calls::FatalTexts().empty());
}

TEST_F(Mutexes, PlainOneHasAVirtualDestructor)
{
    EXPECT_TRUE(std::has_virtual_destructor<CamMutex>::value);
}

}  // namespace
