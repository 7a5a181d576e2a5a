// At most one control transfer of the library is under way.
#include <atomic>
#include <thread>

#include "devcmd/control_transfer.h"
#include "runtime/process_locks.h"
#include "tests/devcmd/controller_fixture.h"
#include "tests/support/wait_until.h"

namespace {

using test_support::WaitUntil;
using vcam::standin::When;

using Serialisation = ControllerTest;

TEST_F(Serialisation, TransfersOfTwoHandlesNeverOverlap)
{
    _KelDevHandle* const second =
        OpenKelDevice(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID, kNoInterface);
    std::atomic<int> under_way{0};
    std::atomic<int> most{0};
    m_bus.OnCall("libusb_control_transfer", When::kBefore, [&](const Call&) {
        const int now = ++under_way;
        if (now > most)
            most = now;
    });
    m_bus.OnCall("libusb_control_transfer", When::kAfter, [&](const Call&) { --under_way; });
    const auto send = [](_KelDevHandle* device) {
        for (int i = 0; i < 200; ++i)
            SetH264Bitrate(device, 1);
    };
    std::thread first_thread(send, m_device);
    std::thread second_thread(send, second);
    first_thread.join();
    second_thread.join();
    EXPECT_EQ(most, 1);
    EXPECT_EQ(m_bus.CallCount("libusb_control_transfer"), 400U);
    CloseKelDevice(second);
}

TEST_F(Serialisation, TransferWaitsForTheProcessWideLock)
{
    g_control_transfer_lock.Acquire();
    std::atomic<bool> done{false};
    std::thread other([&] {
        SetH264Bitrate(m_device, 1);
        done = true;
    });
    EXPECT_FALSE(WaitUntil([&] { return done.load(); }, std::chrono::milliseconds(50)));
    EXPECT_THAT(Calls(), IsEmpty());
    g_control_transfer_lock.Release();
    other.join();
    EXPECT_TRUE(done);
}

TEST_F(Serialisation, TransferInsideTheLockOfItsOwnThreadGoesThrough)
{
    const MutexGuard guard(g_control_transfer_lock);
    EXPECT_EQ(SetH264Bitrate(m_device, 1), 0);
}

TEST_F(Serialisation, WrapperReturnsTheTransfersResultAndPassesItsArgumentsOn)
{
    m_controller->SetReply(0xA1, 0x83, 0x1122, 0x3344, {{1, 2, 3}});
    unsigned char data[5] = {};
    EXPECT_EQ(libusb_control_transfer_(m_device->handle, 0xA1, 0x83, 0x1122, 0x3344, data, 5, 77),
              3);
    EXPECT_THAT(Requests(), ElementsAre(Request{0xA1, 0x83, 0x1122, 0x3344, 5, 77}));
}

}  // namespace
