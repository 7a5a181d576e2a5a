// What else a host can call, without memory enough: device commands, version
// policy, samples and workers.
#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "api/device_commands.h"
#include "usb/usb_identity.h"
#include "firmware/firmware_loader.h"
#include "tests/memory/child.h"
#include "tests/memory/parts_fixture.h"
#include "tests/runtime/worker.h"
#include "tests/support/bus_check.h"
#include "tests/support/log_level.h"
#include "tests/support/scripted_camera.h"
#include "tests/support/tv_root.h"
#include "video/media_sample.h"
#include "virtual_camera/standin/bus.h"

namespace {

using test_support::BusIsClean;
using test_support::CapturedLog;
using test_support::ScriptedCamera;
using test_support::TvRoot;
using vcam::standin::Bus;

class OperationWithoutMemory : public testing::Test {
protected:
    OperationWithoutMemory() { product_heap::WatchScopes(); }
    ~OperationWithoutMemory() override { m_bus.Reset(); }

    Bus& m_bus = Bus::Instance();
    CapturedLog m_log;
};

TEST_F(OperationWithoutMemory, OpeningTheControllerYieldsNoHandleAndLeavesNothing)
{
    m_bus.Attach(std::make_shared<ScriptedCamera>());
    for (const unsigned char interface : {std::uint8_t{0}, kNoInterface}) {
        ForEachAllocation(1, [&](std::size_t nth) {
            SCOPED_TRACE("allocation " + std::to_string(nth));
            const auto device = WithoutAllocation(
                nth, [&] { return OpenKelDevice(CAM_VENDOR_ID, CAM_PRODUCT_ID, interface); });
            if (device.has_value()) {
                EXPECT_EQ(*device == nullptr, product_heap::LastFailure().happened);
                CloseKelDevice(*device);
            }
            EXPECT_TRUE(BusIsClean());
            EXPECT_EQ(product_heap::Live(), 0);
        });
    }
}

TEST_F(OperationWithoutMemory, PositionsOfTheControllerFailOrAreRead)
{
    const auto camera = std::make_shared<ScriptedCamera>();
    camera->SetReply(0xA0, 0x81, 0x0D00, 0x0100, {{5, 0, 0, 0, 6, 0, 0, 0}});
    m_bus.Attach(camera);
    _KelDevHandle* const device = OpenKelDevice(CAM_VENDOR_ID, CAM_PRODUCT_ID, kNoInterface);
    ASSERT_NE(device, nullptr);
    ForEachAllocation(0, [&](std::size_t nth) {
        int pan = -77;
        const auto result =
            WithoutAllocation(nth, [&] { return GetPTZ_Pos(device, kControlPanAbsolute, &pan); });
        const bool failed = product_heap::LastFailure().happened;
        EXPECT_EQ(result, failed ? -1 : 0);
        EXPECT_EQ(pan, failed ? -77 : 5);
    });
    ForEachAllocation(0, [&](std::size_t nth) {
        EXPECT_EQ(
            WithoutAllocation(nth, [&] { return SetPTZ_Pos(device, kControlPanAbsolute, 100); }),
            0);
    });
    EXPECT_EQ(product_heap::Live(), 0);
    CloseKelDevice(device);
}

TEST_F(OperationWithoutMemory, VersionPolicyThatCannotReadADescriptionKeepsTheDownloadedOne)
{
    REQUIRE_TV_ROOT();
    TvRoot::Clear();
    // Too long for what a string holds without memory of its own.
    const std::string padding(100, ' ');
    TvRoot::Write("/mtd_rwcommon/wiru/bin/zelCamera.xml",
                  "<Camera>" + padding + "<Version>1." + std::string(40, '0') + "</Version>");
    TvRoot::Write("/mtd_exe/wiru/zelCamera.xml",
                  "<Camera>" + padding + "<Version>2." + std::string(40, '0') + "</Version>");
    ForEachAllocation(1, [&](std::size_t nth) {
        const auto factory =
            WithoutAllocation(nth, [] { return CCameraFwLoader::UseDefaultVersion(); });
        if (!product_heap::LastFailure().happened) {
            EXPECT_EQ(factory, true);
        }
        EXPECT_EQ(product_heap::Live(), 0);
    });
}

TEST_F(OperationWithoutMemory, SampleWithoutABufferSaysSoAndCanGetOneLater)
{
    MediaSample sample;
    WithoutAllocation(1, [&] { return sample.AllocBuffer(1000, nullptr); });
    EXPECT_TRUE(product_heap::LastFailure().happened);
    EXPECT_EQ(sample.GetBuffer(), nullptr);
    EXPECT_EQ(sample.GetBufferSize(), 0u);
    EXPECT_EQ(sample.SetSampleSize(1), 0);
    EXPECT_EQ(sample.AllocBuffer(1000, nullptr), 1);
    EXPECT_NE(sample.GetBuffer(), nullptr);
    EXPECT_EQ(sample.GetBufferSize(), 1000u);
}

TEST_F(OperationWithoutMemory, DetachedWorkerRunsOrIsRefusedAndTheNextOneRuns)
{
    const auto ending = child::Play([](child::Story& story) {
        // Not destroyed when an exception comes by: that takes the lock of Start.
        Worker& first = *new Worker([](Worker&) {}, true);
        Worker second([](Worker&) {}, false);
        story.Doing("Start");
        product_heap::FailNth(1);
        const int result = Watched([&] { return first.Start(nullptr); });
        product_heap::FailNone();
        story.Doing("Start of another worker");
        story.Require(second.Start(nullptr) == 0, "refused");
        story.RequireSoon([&] { return second.ended == 1; }, "it does not run");
        if (result == 0)
            story.RequireSoon([&] { return first.ended == 1; }, "the first one does not run");
        else
            story.Require(first.started == 0, "the first one was refused and runs");
        delete &first;
    });
    EXPECT_TRUE(ending.good) << ending.what;
}

}  // namespace
