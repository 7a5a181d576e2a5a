// cam_destroy while the call-back is inside Init, held wherever that can make a
// difference.
#include <random>

#include "api/torvik_camera.h"
#include "tests/camera/search_fixture.h"

namespace {

/// What the camera has not ended.
struct Leftovers {
    int call_backs = 0;
    int threads = 0;

    static Leftovers Now() { return {g_host.inside, held_thread::ThreadsRunning()}; }
};

std::atomic<bool> g_loaders_gone{false};
Leftovers g_left_by_loaders;

}  // namespace

// The destructor has the version file removed when the loader is gone. A shell
// takes milliseconds, in which a thread that was left behind could end.
extern "C" int __wrap__Z12ExecuteShellPKc(const char*)
{
    g_left_by_loaders = Leftovers::Now();
    g_loaders_gone = true;
    return 0;
}

namespace {

using held_thread::Hold;

/// cam_destroy on a thread of its own, and what was left when it had returned.
class Destruction {
public:
    /// `prepare` runs on that thread.
    explicit Destruction(ICameraSubject* camera, std::function<void()> prepare = [] {})
        : m_call([this, camera, prepare = std::move(prepare)] {
              prepare();
              cam_destroy(camera);
              held_thread::Nowhere();
              m_left = Leftovers::Now();
          })
    {
    }

    /// Waits until it has nothing more to do before the held thread goes on.
    /// False when it does not wait for that thread.
    bool WaitsForTheLoader()
    {
        m_call.WaitAtRest();
        return !m_call.Returned() && !g_loaders_gone;
    }
    bool Ends() { return m_call.WaitReturned(test_support::kPatience); }
    const Leftovers& Left() const { return m_left; }

private:
    Leftovers m_left;
    HostCall m_call;
};

class DestructionDuringInit : public SearchTest {
protected:
    void SetUp() override
    {
        SearchTest::SetUp();
        TvRoot::Write("/mtd_exe/.info", kOther);
        TvRoot::Write("/mtd_rwarea/camera_l1", "");
        CountSearches();
    }

    ICameraSubject* Create()
    {
        g_host.reports = 0;
        m_searches = 0;
        g_loaders_gone = false;
        m_threads_before = ListedThreads().size();
        return cam_create();
    }

    /// Everything of the camera must be gone, however the two met; the loaders
    /// already before what they use is freed.
    void ExpectNothingLeft(Destruction& destruction)
    {
        ASSERT_TRUE(destruction.Ends());
        for (const Leftovers& left : {g_left_by_loaders, destruction.Left()}) {
            EXPECT_EQ(left.call_backs, 0);
            EXPECT_EQ(left.threads, 0);
        }
        EXPECT_TRUE(m_bus.Counters().AllZero()) << m_bus.Counters().ToString();
        // Nobody else's either, beside that of cam_destroy.
        EXPECT_TRUE(WaitUntil([&] { return ListedThreads().size() <= m_threads_before + 1; }));
    }

    std::size_t m_threads_before = 0;
};

/// The call-back calls Init as often as is asked and is held at one step in it.
/// False when it has fewer.
class HeldInInit : public DestructionDuringInit, public testing::WithParamInterface<int> {
protected:
    bool HoldAtStep(int step)
    {
        ICameraSubject* const camera = Create();
        const auto hold = std::make_shared<Hold>();
        std::atomic<bool> through{false};
        g_host.on_report = [&, hold, camera, step](bool, int report) {
            if (report != 1)
                return;
            held_thread::AtStep(step, hold);
            for (int i = 0; i < GetParam(); ++i)
                camera->Init(OnReport, 0);
            held_thread::Nowhere();
            through = true;
        };
        camera->Init(OnReport, 0);
        EXPECT_TRUE(WaitUntil([&] { return hold->reached || through; }));
        const bool held = hold->reached;
        Destruction destruction(camera);
        if (held && !destruction.WaitsForTheLoader()) {
            // The thread stays where it is: what it works with is gone.
            ADD_FAILURE() << "the camera is gone, and its call-back is inside Init";
            return false;
        }
        hold->gate.Open();
        ExpectNothingLeft(destruction);
        return held;
    }
};

TEST_P(HeldInInit, IsWaitedForAtEveryStep)
{
    int step = 1;
    for (bool held = true; held && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        held = HoldAtStep(step);
    }
    if (!HasFailure()) {
        EXPECT_GT(step, 3) << "Init has no steps";
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, HeldInInit, testing::Values(1, 2), [](const auto& row) {
    return std::string(row.param == 1 ? "CalledOnce" : "CalledTwice");
});

/// The other way round: cam_destroy is held at one step, and Init goes on.
TEST_F(DestructionDuringInit, MayBeLateAtEveryStepOfItsOwn)
{
    bool held = true;
    for (int step = 1; held && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        ICameraSubject* const camera = Create();
        const auto hold = std::make_shared<Hold>();
        Gate before_init;
        std::atomic<bool> through{false};
        g_host.on_report = [&, camera](bool, int report) {
            if (report != 1)
                return;
            before_init.Pass();
            camera->Init(OnReport, 0);
            through = true;
        };
        camera->Init(OnReport, 0);
        ASSERT_TRUE(before_init.WaitArrived());
        Destruction destruction(camera, [&] { held_thread::AtStep(step, hold); });
        destruction.WaitsForTheLoader();
        held = hold->reached;
        before_init.Open();
        // Through, unless it needs what cam_destroy holds.
        EXPECT_TRUE(WaitUntil([&] { return through || AllOthersSleepOn(); }));
        hold->gate.Open();
        ExpectNothingLeft(destruction);
    }
}

TEST_F(DestructionDuringInit, MakesThatInitStartNothing)
{
    ICameraSubject* const camera = Create();
    Gate before_init;
    g_host.on_report = [&, camera](bool, int report) {
        if (report != 1)
            return;
        before_init.Pass();
        camera->Init(OnReport, 0);
        camera->Init(OnReport, 0);
    };
    camera->Init(OnReport, 0);
    ASSERT_TRUE(before_init.WaitArrived());
    Destruction destruction(camera);
    EXPECT_TRUE(destruction.WaitsForTheLoader());
    const int made = held_thread::ThreadsMade();
    before_init.Open();
    ExpectNothingLeft(destruction);
    EXPECT_EQ(held_thread::ThreadsMade(), made);
    EXPECT_EQ(m_searches, 1);
}

/// The call-back's second Init waits for the loader that the first one
/// started; that one is held at each of its calls to libusb.
TEST_F(DestructionDuringInit, WaitsForTheSearchThatWasStarted)
{
    bool held = true;
    for (int nth = 1; held && !HasFailure(); ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth));
        ICameraSubject* const camera = Create();
        const auto hold = std::make_shared<Hold>();
        std::atomic<int> calls{0};
        std::vector<int> hooks;
        for (const std::string& function : Bus::Functions()) {
            hooks.push_back(m_bus.OnCall(function, When::kBefore, [&](const Call&) {
                if (m_searches != 2 || ++calls != nth)
                    return;
                hold->reached = true;
                hold->gate.Pass();
            }));
        }
        g_host.on_report = [&, camera](bool, int report) {
            if (report > 2)
                return;
            camera->Init(OnReport, 0);
            if (report == 1)
                camera->Init(OnReport, 0);
        };
        camera->Init(OnReport, 0);
        EXPECT_TRUE(WaitUntil([&] {
            return hold->reached || (g_host.reports > 2 && g_host.inside == 0);
        }));
        held = hold->reached;
        Destruction destruction(camera);
        if (held) {
            EXPECT_TRUE(destruction.WaitsForTheLoader());
        }
        const int made = held_thread::ThreadsMade();
        hold->gate.Open();
        ExpectNothingLeft(destruction);
        EXPECT_EQ(held_thread::ThreadsMade(), made);
        for (const int hook : hooks)
            m_bus.RemoveHook(hook);
    }
}

TEST_F(DestructionDuringInit, AtTheSameTimeLeavesNothingBehind)
{
    constexpr int kRounds = 150;
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::minstd_rand random(seed);
    const auto next = [&random] { return static_cast<unsigned>(random()); };
    for (int round = 0; round < kRounds && !HasFailure(); ++round) {
        ICameraSubject* const camera = Create();
        Gate start;
        g_host.on_report = [&, camera, lateness = next()](bool, int report) {
            if (report != 1)
                return;
            start.Pass();
            held_thread::Dawdle(lateness);
            camera->Init(OnReport, 0);
            held_thread::Nowhere();
        };
        camera->Init(OnReport, 0);
        ASSERT_TRUE(start.WaitArrived());
        Destruction destruction(camera, [&, lateness = next()] {
            held_thread::Dawdle(lateness);
            start.Open();
        });
        ExpectNothingLeft(destruction);
    }
}

}  // namespace
