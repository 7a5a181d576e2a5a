// The one loader of a camera object.
#include "firmware/loader_slot.h"

#include "tests/firmware/loader_fixture.h"

namespace {

struct Host {
    std::function<void(unsigned)> on_report;
    std::mutex mutex;
    std::vector<unsigned> statuses;  ///< guarded by mutex

    static void Report(unsigned status, void* context)
    {
        auto* const host = static_cast<Host*>(context);
        {
            const std::lock_guard<std::mutex> guard(host->mutex);
            host->statuses.push_back(status);
        }
        if (host->on_report)
            host->on_report(status);
    }
    std::size_t Reports()
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return statuses.size();
    }
};

class LoaderSlot : public LoaderTest {
protected:
    Host m_host;
    FirmwareLoaderSlot m_slot;

    void Restart() { m_slot.Restart(nullptr, Host::Report, &m_host); }
    void TearDown() override
    {
        m_slot.StopAndDelete();
        LoaderTest::TearDown();
    }
};

TEST_F(LoaderSlot, WithoutALoaderTheVersionIsZero)
{
    EXPECT_EQ(m_slot.CamVersion(), 0);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(LoaderSlot, RestartStartsALoader)
{
    m_bus.Attach(m_camera);
    Restart();
    ASSERT_TRUE(WaitUntil([&] { return m_host.Reports() == 1; }));
    EXPECT_EQ(m_slot.CamVersion(), 1);
}

TEST_F(LoaderSlot, RestartEndsTheOldLoaderBeforeTheNewOneStarts)
{
    m_bus.Attach(m_camera);
    Restart();
    ASSERT_TRUE(WaitUntil([&] { return m_host.Reports() == 1; }));
    Restart();
    ASSERT_TRUE(WaitUntil([&] { return m_host.Reports() == 2; }));
    EXPECT_EQ(m_bus.Counters().handles, 1);
}

TEST_F(LoaderSlot, RestartFromTheCallBackReplacesTheLoaderThatCalls)
{
    std::atomic<int> retries{0};
    m_host.on_report = [&](unsigned status) {
        if (status != 0 && retries++ == 0) {
            m_bus.Attach(m_camera);
            Restart();
        }
    };
    Restart();  // nobody there yet
    ASSERT_TRUE(WaitUntil([&] { return m_host.Reports() == 2; }));
    const std::lock_guard<std::mutex> guard(m_host.mutex);
    EXPECT_THAT(m_host.statuses, ElementsAre(1U, 0U));
}

TEST_F(LoaderSlot, NothingStartsAfterTheEnd)
{
    m_bus.Attach(m_camera);
    m_slot.StopAndDelete();
    Restart();
    EXPECT_THAT(m_bus.CallLog(), IsEmpty());
    EXPECT_EQ(m_slot.CamVersion(), 0);
}

}  // namespace
