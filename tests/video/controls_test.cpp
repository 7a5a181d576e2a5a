// Class controls and extension-unit commands.
#include <atomic>
#include <thread>

#include "api/device_commands.h"
#include "devcmd/control_transfer.h"
#include "tests/video/video_fixture.h"

namespace {

class VideoControls : public VideoTest {
protected:
    void SetUp() override
    {
        m_transport = std::make_unique<CLibUSB_UvcCtrl>();
        ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
        m_bus.EnableCallLog();
    }
    void TearDown() override
    {
        CloseCleanly(m_transport);
        VideoTest::TearDown();
    }
    Bytes LastSent()
    {
        const auto sent = m_camera->Of(test_support::Received::kControl);
        return sent.empty() ? Bytes{} : sent.back().data;
    }

    std::unique_ptr<CLibUSB_UvcCtrl> m_transport;
};

TEST_F(VideoControls, SetRequestGoesToTheInterfaceAsAClassRequest)
{
    Bytes data{1, 2, 3};
    EXPECT_EQ(m_transport->UVC_query_ctrl(0x01, 0x12, 0x34, 0x56, data.data(), 3, 777), 3);
    EXPECT_THAT(CallLines(), ElementsAre("control 21 01 5600 1234 3 777ms"));
    EXPECT_EQ(LastSent(), data);
}

TEST_F(VideoControls, GetRequestTurnsTheDirectionBit)
{
    m_camera->SetReply(0xA1, 0x82, 0x0200, 0x0300, {{9, 8}});
    Bytes data(4);
    EXPECT_EQ(m_transport->UVC_query_ctrl(0x82, 3, 0, 2, data.data(), 4, 1000), 2);
    EXPECT_THAT(CallLines(), ElementsAre("control a1 82 0200 0300 4 1000ms"));
    EXPECT_EQ(data, (Bytes{9, 8, 0, 0}));
}

TEST_F(VideoControls, EveryTransferErrorIsTheOneUnsupportedValue)
{
    for (const int error : {LIBUSB_ERROR_PIPE, LIBUSB_ERROR_TIMEOUT, LIBUSB_ERROR_NO_DEVICE,
                            LIBUSB_ERROR_IO, LIBUSB_ERROR_OTHER}) {
        m_bus.FailCall("libusb_control_transfer", 1, error);
        unsigned char byte = 0;
        EXPECT_EQ(m_transport->UVC_query_ctrl(0x01, 3, 0, 1, &byte, 1, 1000), -2147483645);
        m_bus.ClearRules();
    }
}

TEST_F(VideoControls, NothingIsSentWithoutADevice)
{
    CLibUSB_UvcCtrl closed;
    unsigned char bytes[8] = {};
    int value = 0;
    EXPECT_EQ(closed.UVC_query_ctrl(0x01, 3, 0, 1, bytes, 1, 1000), -1);
    EXPECT_EQ(closed.KelCommandGet(1, bytes, 8), -1);
    EXPECT_EQ(closed.KelCommandSend(1, bytes, 8), -1);
    EXPECT_EQ(closed.KelISPCommand(bytes, nullptr), -1);
    EXPECT_EQ(closed.SetPU(2, 5), 0);
    EXPECT_EQ(closed.SetPTZ(kControlPanAbsolute, 5), 0);
    EXPECT_EQ(closed.GetPTZ(kControlPanAbsolute, &value), 0);
    EXPECT_EQ(closed.RequestKeyFrame(), 0);
    EXPECT_THAT(CallLines("control"), IsEmpty());
}

struct ProcessingUnitRow {
    unsigned selector;
    int length;
};

class ProcessingUnit : public VideoControls,
                       public testing::WithParamInterface<ProcessingUnitRow> {};

TEST_P(ProcessingUnit, SendsTheLowBytesLittleEndian)
{
    const auto [selector, length] = GetParam();
    EXPECT_EQ(m_transport->SetPU(selector, 0x12345678), 1);
    char line[64];
    std::snprintf(line, sizeof line, "control 21 01 %02x00 0300 %d 1000ms", selector, length);
    EXPECT_THAT(CallLines(), ElementsAre(line));
    EXPECT_EQ(LastSent(), length == 1 ? Bytes{0x78} : (Bytes{0x78, 0x56}));
}

INSTANTIATE_TEST_SUITE_P(Table, ProcessingUnit,
                         testing::Values(ProcessingUnitRow{1, 2}, ProcessingUnitRow{2, 2},
                                         ProcessingUnitRow{3, 2}, ProcessingUnitRow{5, 1},
                                         ProcessingUnitRow{6, 2}, ProcessingUnitRow{7, 2},
                                         ProcessingUnitRow{8, 2}, ProcessingUnitRow{9, 2},
                                         ProcessingUnitRow{10, 2}, ProcessingUnitRow{11, 1}),
                         [](const auto& row) {
                             return "Selector" + std::to_string(row.param.selector);
                         });

TEST_F(VideoControls, ProcessingUnitRefusesGainAndUnknownSelectors)
{
    for (const unsigned selector : {0u, 4u, 12u, 257u, 0xFFFFFFFFu})
        EXPECT_EQ(m_transport->SetPU(selector, 1), 0) << selector;
    EXPECT_THAT(CallLines(), IsEmpty());
}

TEST_F(VideoControls, ProcessingUnitValueMayBeNegative)
{
    EXPECT_EQ(m_transport->SetPU(2, -2), 1);
    EXPECT_EQ(LastSent(), (Bytes{0xFE, 0xFF}));
}

TEST_F(VideoControls, ProcessingUnitFailsOnATransferError)
{
    m_bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(m_transport->SetPU(2, 1), 0);
}

TEST_F(VideoControls, ProcessingUnitCountsATransferOfNothingAsSuccess)
{
    m_bus.ShortenControlReply(1, 0);
    EXPECT_EQ(m_transport->SetPU(2, 1), 1);
}

struct TerminalRow {
    const char* name;
    unsigned id;
    const char* get;
    Bytes reply;
    int value;
};

class CameraTerminal : public VideoControls, public testing::WithParamInterface<TerminalRow> {};

TEST_P(CameraTerminal, GetDecodesTheValue)
{
    const TerminalRow& row = GetParam();
    const auto selector = static_cast<std::uint16_t>(std::stoul(std::string(row.get, 14, 4), nullptr, 16));
    m_camera->SetReply(0xA1, 0x81, selector, 0x0100, {row.reply});
    int value = 1;
    EXPECT_EQ(m_transport->GetPTZ(row.id, &value), 1);
    EXPECT_EQ(value, row.value);
    EXPECT_THAT(CallLines(), ElementsAre(row.get));
}

INSTANTIATE_TEST_SUITE_P(
    Table, CameraTerminal,
    testing::Values(TerminalRow{"Pan", 0x009A0908, "control a1 81 0d00 0100 8 1000ms",
                                {0x00, 0xF0, 0xFF, 0xFF, 1, 2, 3, 4}, -4096},
                    TerminalRow{"Tilt", 0x009A0909, "control a1 81 0d00 0100 8 1000ms",
                                {1, 2, 3, 4, 0x78, 0x56, 0x34, 0x12}, 0x12345678},
                    TerminalRow{"Focus", 0x009A090A, "control a1 81 0600 0100 2 1000ms",
                                {0xFF, 0xFE}, 0xFEFF},
                    TerminalRow{"Zoom", 0x009A090D, "control a1 81 0b00 0100 2 1000ms",
                                {0x34, 0x12}, 0x1234}),
    [](const auto& row) { return row.param.name; });

TEST_F(VideoControls, UnknownTerminalControlsAreRefused)
{
    for (const unsigned id : {0u, 0x009A0907u, 0x009A090Bu, 0x009A090Cu, 0x009A090Eu, 8u}) {
        int value = 77;
        EXPECT_EQ(m_transport->GetPTZ(id, &value), 0) << id;
        EXPECT_EQ(value, 77);
        EXPECT_EQ(m_transport->SetPTZ(id, 1), 0) << id;
    }
    EXPECT_THAT(CallLines(), IsEmpty());
}

TEST_F(VideoControls, FailedGetOfATerminalControlDecodesZero)
{
    m_bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_PIPE);
    int value = 77;
    EXPECT_EQ(m_transport->GetPTZ(kControlZoomAbsolute, &value), 0);
    EXPECT_EQ(value, 0);
}

TEST_F(VideoControls, SettingPanKeepsTheTilt)
{
    m_camera->SetReply(0xA1, 0x81, 0x0D00, 0x0100, {{1, 1, 1, 1, 0x04, 0x03, 0x02, 0x01}});
    EXPECT_EQ(m_transport->SetPTZ(kControlPanAbsolute, -2), 1);
    EXPECT_THAT(CallLines(), ElementsAre("control a1 81 0d00 0100 8 1000ms",
                                         "control 21 01 0d00 0100 8 1000ms"));
    EXPECT_EQ(LastSent(), (Bytes{0xFE, 0xFF, 0xFF, 0xFF, 0x04, 0x03, 0x02, 0x01}));
}

TEST_F(VideoControls, SettingTiltKeepsThePan)
{
    m_camera->SetReply(0xA1, 0x81, 0x0D00, 0x0100, {{0x04, 0x03, 0x02, 0x01, 1, 1, 1, 1}});
    EXPECT_EQ(m_transport->SetPTZ(kControlTiltAbsolute, 0x0A0B0C0D), 1);
    EXPECT_EQ(LastSent(), (Bytes{0x04, 0x03, 0x02, 0x01, 0x0D, 0x0C, 0x0B, 0x0A}));
}

TEST_F(VideoControls, PanIsSetBesideATiltOfZeroWhenItCannotBeRead)
{
    m_bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(m_transport->SetPTZ(kControlPanAbsolute, 5), 1);
    EXPECT_EQ(LastSent(), (Bytes{5, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(VideoControls, FocusAndZoomSendTheirLow16BitsWithoutAsking)
{
    EXPECT_EQ(m_transport->SetPTZ(kControlFocusAbsolute, 0x70123), 1);
    EXPECT_EQ(LastSent(), (Bytes{0x23, 0x01}));
    EXPECT_EQ(m_transport->SetPTZ(kControlZoomAbsolute, -1), 1);
    EXPECT_EQ(LastSent(), (Bytes{0xFF, 0xFF}));
    EXPECT_THAT(CallLines(), ElementsAre("control 21 01 0600 0100 2 1000ms",
                                         "control 21 01 0b00 0100 2 1000ms"));
}

TEST_F(VideoControls, RefusedTerminalControlFails)
{
    m_bus.FailCall("libusb_control_transfer", 0, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(m_transport->SetPTZ(kControlPanAbsolute, 5), 0);
    EXPECT_EQ(m_transport->SetPTZ(kControlZoomAbsolute, 5), 0);
}

TEST_F(VideoControls, ExtensionUnitCommandsPassTheirResultOn)
{
    m_camera->SetReply(0xA1, 0x81, 0x0F00, 0x0600, {{1, 2, 3}});
    Bytes data(16);
    EXPECT_EQ(m_transport->KelCommandGet(15, data.data(), 16), 3);
    EXPECT_EQ(m_transport->KelCommandSend(14, data.data(), 16), 16);
    EXPECT_EQ(LastSent(), data);
    EXPECT_THAT(CallLines(), ElementsAre("control a1 81 0f00 0600 16 1000ms",
                                         "control 21 01 0e00 0600 16 1000ms"));
    m_bus.FailCall("libusb_control_transfer", 0, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(m_transport->KelCommandGet(15, data.data(), 16), kCamUnsupported);
    EXPECT_EQ(m_transport->KelCommandSend(14, data.data(), 16), kCamUnsupported);
}

TEST_F(VideoControls, IspCommandIsEightBytesAndLeavesTheReplyAlone)
{
    Bytes command{1, 2, 3, 4, 5, 6, 7, 8, 9};
    Bytes reply(8, 0x55);
    EXPECT_EQ(m_transport->KelISPCommand(command.data(), reply.data()), 8);
    EXPECT_THAT(CallLines(), ElementsAre("control 21 01 0100 0600 8 1000ms"));
    EXPECT_EQ(LastSent(), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(reply, Bytes(8, 0x55));
}

TEST_F(VideoControls, KeyFrameRequestIsCommandFour)
{
    EXPECT_EQ(m_transport->RequestKeyFrame(), 1);
    EXPECT_EQ(LastSent(), (Bytes{4, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(VideoControls, FrameRateIsCommandTwo)
{
    EXPECT_EQ(m_transport->SetFramerate(0x1234), 1);
    EXPECT_EQ(LastSent(), (Bytes{2, 0x34, 0x12, 0, 0, 0, 0, 0}));
}

TEST_F(VideoControls, BitRateIsCommandEight)
{
    EXPECT_EQ(m_transport->SetBitrate(0xABCD), 1);
    EXPECT_EQ(LastSent(), (Bytes{8, 0xFF, 0xCD, 0xAB, 0, 0, 0, 0}));
}

TEST_F(VideoControls, IspCommandsFailWhenNothingWasMoved)
{
    m_bus.ShortenControlReply(0, 0);
    EXPECT_EQ(m_transport->RequestKeyFrame(), 0);
    EXPECT_EQ(m_transport->SetFramerate(30), 0);
    EXPECT_EQ(m_transport->SetBitrate(1000), 0);
}

TEST_F(VideoControls, IspCommandsFailOnATransferError)
{
    m_bus.FailCall("libusb_control_transfer", 0, LIBUSB_ERROR_TIMEOUT);
    EXPECT_EQ(m_transport->RequestKeyFrame(), 0);
    EXPECT_EQ(m_transport->SetFramerate(30), 0);
    EXPECT_EQ(m_transport->SetBitrate(1000), 0);
}

TEST_F(VideoControls, FailedControlIsNotTriedAgain)
{
    m_bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_TIMEOUT);
    m_transport->RequestKeyFrame();
    EXPECT_EQ(CallLines("control").size(), 1u);
}

TEST_F(VideoControls, OnlyOneControlTransferOfTheProcessIsUnderWay)
{
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    m_bus.OnCall("libusb_control_transfer", When::kBefore, [&](const Call&) {
        const int now = ++inside;
        int seen = most;
        while (seen < now && !most.compare_exchange_weak(seen, now)) {
        }
        std::this_thread::yield();
    });
    m_bus.OnCall("libusb_control_transfer", When::kAfter, [&](const Call&) { --inside; });
    // A handle of another context, as the audio side and the commands have.
    libusb_context* context = nullptr;
    ASSERT_EQ(libusb_init(&context), 0);
    libusb_device_handle* const handle =
        libusb_open_device_with_vid_pid(context, CAM_VENDOR_ID, CAM_PRODUCT_ID);
    ASSERT_NE(handle, nullptr);
    std::thread neighbour([handle] {
        for (int i = 0; i < 200; ++i) {
            unsigned char data[8] = {};
            EXPECT_EQ(libusb_control_transfer_(handle, 0x21, 1, 0x0100, 0x0600, data, 8, 1000), 8);
        }
    });
    std::thread second([this] {
        for (int i = 0; i < 200; ++i)
            EXPECT_EQ(m_transport->SetPU(2, i), 1);
    });
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(m_transport->RequestKeyFrame(), 1);
    neighbour.join();
    second.join();
    libusb_close(handle);
    libusb_exit(context);
    EXPECT_EQ(most, 1);
}

}  // namespace
