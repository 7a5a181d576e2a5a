#include "runtime/process_locks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <thread>

#include "tests/runtime/system_calls.h"

namespace {

TEST(ProcessLocks, AreConstructedAtLoadInTheirOrder)
{
    const int order[] = {system_calls::InitialisationOrder(m_observer_lock.Native()),
                         system_calls::InitialisationOrder(m_start_stop_preview_lock.Native()),
                         system_calls::InitialisationOrder(m_video_ctrl_lock.Native()),
                         system_calls::InitialisationOrder(m_audio_observer_lock.Native())};
    EXPECT_GE(order[0], 0);
    EXPECT_TRUE(std::is_sorted(std::begin(order), std::end(order)));
    EXPECT_GE(system_calls::InitialisationOrder(g_control_transfer_lock.Native()), 0);
}

class ProcessLock : public testing::TestWithParam<pMutex*> {};

TEST_P(ProcessLock, IsRecursive)
{
    pMutex& lock = *GetParam();
    lock.Acquire();
    EXPECT_EQ(pthread_mutex_trylock(lock.Native()), 0);
    lock.Release();
    lock.Release();
    std::thread other([&lock] {
        EXPECT_EQ(pthread_mutex_trylock(lock.Native()), 0);
        lock.Release();
    });
    other.join();
}

INSTANTIATE_TEST_SUITE_P(All, ProcessLock,
                         testing::Values(&g_control_transfer_lock, &m_observer_lock,
                                         &m_start_stop_preview_lock, &m_video_ctrl_lock,
                                         &m_audio_observer_lock),
                         [](const auto& lock) { return std::to_string(lock.index); });

}  // namespace
