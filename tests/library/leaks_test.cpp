// What is left behind by start and stop, and by destruction in every state.
#include <dirent.h>

#include <thread>

#include "tests/library/library_fixture.h"

namespace {

std::size_t Entries(const char* directory)
{
    std::size_t count = 0;
    DIR* const opened = opendir(directory);
    while (readdir(opened) != nullptr)
        ++count;
    closedir(opened);
    return count;
}

std::size_t Threads()
{
    return Entries("/proc/self/task");
}
std::size_t Files()
{
    return Entries("/proc/self/fd");
}

class Leaks : public LibraryTest {
protected:
    /// What the process itself opens once, and a sanitizer's own thread, are
    /// there after the first camera and the first thread.
    void MakeFirstOnes()
    {
        Create(kCalder);
        Destroy();
        std::thread([] {}).join();
    }
    void ExpectNothingLeft(std::size_t threads, std::size_t files)
    {
        // A joined thread may stay listed for a moment.
        EXPECT_TRUE(WaitUntil([threads] { return Threads() <= threads; })) << Threads();
        EXPECT_EQ(Files(), files);
        EXPECT_TRUE(m_bus.Counters().AllZero()) << m_bus.Counters().ToString();
    }
};

TEST_F(Leaks, StartStopCyclesLeaveNothing)
{
    MakeFirstOnes();
    const std::size_t threads = Threads();
    const std::size_t files = Files();
    CreateAndInit(kCalder);
    if (HasFatalFailure())
        return;
    for (int cycle = 0; cycle < 4; ++cycle) {
        ASSERT_TRUE(m_camera->StartRecording());
        EXPECT_EQ(m_bus.Counters().transfers, 5);
        ASSERT_TRUE(m_camera->StopRecording());
        EXPECT_EQ(m_bus.Counters().transfers, 0);
    }
    Destroy();
    ExpectNothingLeft(threads, files);
}

TEST_F(Leaks, CameraObjectsInARowLeaveNothing)
{
    MakeFirstOnes();
    const std::size_t threads = Threads();
    const std::size_t files = Files();
    for (int round = 0; round < 3; ++round) {
        CreateAndInit(kBrevan);
        ASSERT_TRUE(m_camera->StartRecording());
        Destroy();
        ExpectNothingLeft(threads, files);
    }
}

class DestroyIn : public Leaks, public testing::WithParamInterface<const char*> {
protected:
    void Reach(const std::string& state)
    {
        if (state == "Created") {
            Create(kCalder);
            return;
        }
        if (state == "Initialising") {
            Create(kCalder);
            m_camera->Init(OnInit, 0);
            return;
        }
        if (state == "NoDevice") {
            m_model->Unplug();
            Create(kCalder);
            m_camera->Init(OnInit, 0);
            ASSERT_TRUE(WaitUntil([] { return g_failed == 1; }));
            return;
        }
        if (state == "FailedStart") {
            CreateAndInit(kCalder);
            m_model->AddFaults("control type 0x22 always stall");
            EXPECT_FALSE(m_camera->StartRecording());
            return;
        }
        CreateAndInit(kCalder);
        if (state == "Connected")
            return;
        ASSERT_TRUE(m_camera->StartRecording());
        if (state == "Stopped") {
            ASSERT_TRUE(m_camera->StopRecording());
        } else if (state == "Unplugged") {
            m_model->Unplug();
            ASSERT_TRUE(WaitUntil([] { return g_failed == 1; }));
        } else if (state == "JustUnplugged") {
            m_model->Unplug();
        } else if (state == "ForcedDisconnected") {
            m_camera->SetState(CAM_STATE_DISCONNECTED);
        } else if (state == "ForcedCreated") {
            m_camera->SetState(CAM_STATE_CREATED);
        } else if (state == "InitialisedWhileRecording") {
            m_camera->Init(OnInit, 0);
            ASSERT_TRUE(WaitUntil([] { return g_ready == 2; }));
        }
    }
};

TEST_P(DestroyIn, LeavesNothing)
{
    MakeFirstOnes();
    const std::size_t threads = Threads();
    const std::size_t files = Files();
    Reach(GetParam());
    if (HasFatalFailure())
        return;
    Destroy();
    ExpectNothingLeft(threads, files);
}

INSTANTIATE_TEST_SUITE_P(States, DestroyIn,
                         testing::Values("Created", "Initialising", "NoDevice", "Connected",
                                         "Recording", "Stopped", "FailedStart", "Unplugged",
                                         "JustUnplugged", "ForcedDisconnected", "ForcedCreated",
                                         "InitialisedWhileRecording"),
                         [](const auto& row) { return std::string(row.param); });

}  // namespace
