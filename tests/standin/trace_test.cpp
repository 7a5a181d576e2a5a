// Seeing and disturbing calls.
#include "tests/standin/standin_fixture.h"

namespace {

using vcam::standin::Call;
using vcam::standin::When;

using TraceTest = StandinTest;

TEST_F(TraceTest, LogHasTheArgumentsAndTheResult)
{
    m_bus.EnableCallLog();
    unsigned char data[] = {1, 2};
    libusb_control_transfer(m_handle, 0x21, 0x01, 0x0200, 0x0503, data, 2, 2000);
    Bytes reply(3);
    GetCur(reply);
    libusb_claim_interface(m_handle, 9);
    HandleEvents(0);
    const std::vector<Call> log = m_bus.CallLog();
    ASSERT_EQ(log.size(), 3u);  // event calls are not asked for
    EXPECT_EQ(log[0].function, "libusb_control_transfer");
    EXPECT_EQ(log[0].setup.request_type, 0x21);
    EXPECT_EQ(log[0].setup.request, 0x01);
    EXPECT_EQ(log[0].setup.value, 0x0200);
    EXPECT_EQ(log[0].setup.index, 0x0503);
    EXPECT_EQ(log[0].data, (Bytes{1, 2}));
    EXPECT_EQ(log[0].timeout_ms, 2000u);
    EXPECT_EQ(log[0].result, 2);
    EXPECT_EQ(log[0].thread, std::this_thread::get_id());
    EXPECT_EQ(log[1].received, (Bytes{0xC0, 0x5D, 0x00}));
    EXPECT_EQ(log[2].interface_number, 9);
    EXPECT_EQ(log[2].result, LIBUSB_ERROR_NOT_FOUND);
    m_bus.ClearCallLog();
    EXPECT_TRUE(m_bus.CallLog().empty());
}

TEST_F(TraceTest, LogShowsOnWhichThreadATransferCompleted)
{
    m_bus.EnableCallLog(true);
    TestTransfer transfer(m_handle, 8, 100);
    m_camera->QueueIn(0x81, {1, 2});
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    ASSERT_TRUE(Pump(transfer));
    bool submitted = false;
    bool completed = false;
    for (const Call& call : m_bus.CallLog()) {
        if (call.function == "libusb_submit_transfer") {
            submitted = true;
            EXPECT_EQ(call.length, 8u);
            EXPECT_EQ(call.timeout_ms, 100u);
            EXPECT_EQ(call.transfer_type, LIBUSB_TRANSFER_TYPE_BULK);
        }
        if (call.function == "completion") {
            completed = true;
            EXPECT_EQ(call.transfer, transfer.Get());
            EXPECT_EQ(call.actual_length, 2u);
            EXPECT_EQ(call.thread, std::this_thread::get_id());
        }
    }
    EXPECT_TRUE(submitted);
    EXPECT_TRUE(completed);
}

TEST_F(TraceTest, CallsAreCounted)
{
    const std::size_t before = m_bus.CallCount("libusb_claim_interface");
    libusb_claim_interface(m_handle, 0);
    libusb_claim_interface(m_handle, 2);
    EXPECT_EQ(m_bus.CallCount("libusb_claim_interface"), before + 2);
    EXPECT_TRUE(m_bus.WaitForCalls("libusb_claim_interface", before + 2, kPatience));
    EXPECT_FALSE(m_bus.WaitForCalls("libusb_claim_interface", before + 3,
                                    std::chrono::milliseconds(1)));
    EXPECT_EQ(m_bus.CallCount("libusb_no_such_function"), 0u);
}

TEST_F(TraceTest, NthMatchingCallFails)
{
    m_bus.FailCall("libusb_control_transfer", 2, LIBUSB_ERROR_PIPE,
                   [](const Call& call) { return call.setup.request == 0x81; });
    unsigned char data[] = {0, 0};
    Bytes reply(3);
    EXPECT_EQ(GetCur(reply), 3);
    EXPECT_EQ(libusb_control_transfer(m_handle, 0x21, 0x01, 0x0200, 0x0503, data, 2, 1000), 2);
    m_camera->ClearLog();
    EXPECT_EQ(GetCur(reply), LIBUSB_ERROR_PIPE);
    EXPECT_TRUE(m_camera->Log().empty());
    EXPECT_EQ(GetCur(reply), 3);
}

TEST_F(TraceTest, EveryCallFailsUntilTheRulesAreCleared)
{
    m_bus.FailCall("libusb_submit_transfer", 0, LIBUSB_ERROR_NO_MEM);
    TestTransfer transfer(m_handle, 8);
    EXPECT_EQ(transfer.Submit(), LIBUSB_ERROR_NO_MEM);
    EXPECT_EQ(transfer.Submit(), LIBUSB_ERROR_NO_MEM);
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 0);
    m_bus.ClearRules();
    EXPECT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    transfer.Cancel();
    ASSERT_TRUE(Pump(transfer));
}

TEST_F(TraceTest, FunctionsThatReturnPointersFailWithNull)
{
    m_bus.FailCall("libusb_alloc_transfer", 1, LIBUSB_ERROR_NO_MEM);
    m_bus.FailCall("libusb_open_device_with_vid_pid", 1, LIBUSB_ERROR_ACCESS);
    EXPECT_EQ(libusb_alloc_transfer(0), nullptr);
    EXPECT_EQ(libusb_open_device_with_vid_pid(m_context, TORVIK_CAM_VENDOR_ID,
                                              TORVIK_CAM_PRODUCT_ID),
              nullptr);
}

TEST_F(TraceTest, ControlReplyIsShortened)
{
    m_bus.ShortenControlReply(1, 2);
    Bytes reply{9, 9, 9};
    EXPECT_EQ(GetCur(reply), 2);
    EXPECT_EQ(reply, (Bytes{0xC0, 0x5D, 9}));
    EXPECT_EQ(GetCur(reply), 3);
}

TEST_F(TraceTest, CompletionIsReplacedWithoutTheDevice)
{
    m_bus.OverrideCompletion(1, {LIBUSB_TRANSFER_OVERFLOW, {}, false, {4, 5}});
    TestTransfer transfer(m_handle, 8);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    ASSERT_TRUE(Pump(transfer));
    EXPECT_EQ(transfer.Status(), LIBUSB_TRANSFER_OVERFLOW);
    EXPECT_EQ(transfer.Data(), (Bytes{4, 5}));
}

TEST_F(TraceTest, CompletionIsReplacedAfterTheDevice)
{
    m_bus.OverrideCompletion(1, {LIBUSB_TRANSFER_ERROR, std::size_t{1}, true, {}});
    m_camera->QueueIn(0x81, {1, 2, 3});
    TestTransfer transfer(m_handle, 8);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    ASSERT_TRUE(Pump(transfer));
    EXPECT_EQ(transfer.Status(), LIBUSB_TRANSFER_ERROR);
    EXPECT_EQ(transfer.Data(), Bytes{1});
    EXPECT_EQ(m_camera->Queued(0x81), 0u);
}

TEST_F(TraceTest, HookHoldsACallerAtItsPoint)
{
    std::atomic<bool> held{false};
    std::atomic<bool> go{false};
    const int hook = m_bus.OnCall("libusb_claim_interface", When::kBefore, [&](const Call&) {
        held = true;
        WaitUntil([&] { return go.load(); });
    });
    std::thread caller([&] { EXPECT_EQ(libusb_claim_interface(m_handle, 0), LIBUSB_SUCCESS); });
    ASSERT_TRUE(WaitUntil([&] { return held.load(); }));
    EXPECT_EQ(m_bus.Counters().claimed_interfaces, 1);
    Bytes reply(3);
    EXPECT_EQ(GetCur(reply), 3);  // nobody else is held up
    go = true;
    caller.join();
    m_bus.RemoveHook(hook);
    EXPECT_EQ(m_bus.Counters().claimed_interfaces, 2);
}

TEST_F(TraceTest, HookAfterACallSeesItsResult)
{
    long result = 1;
    m_bus.OnCall("libusb_claim_interface", When::kAfter,
                 [&](const Call& call) { result = call.result; });
    libusb_claim_interface(m_handle, 9);
    EXPECT_EQ(result, LIBUSB_ERROR_NOT_FOUND);
}

TEST_F(TraceTest, EveryFunctionHasAName)
{
    const std::vector<std::string> names = Bus::Functions();
    EXPECT_THAT(names, testing::Contains("libusb_init"));
    EXPECT_THAT(names, testing::Each(testing::StartsWith("libusb_")));
}

}  // namespace
