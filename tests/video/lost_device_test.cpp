// Alternate settings of a camera that may have left the bus. With releases of
// libusb that cannot bear to be asked for them then, the transport looks for
// the device in the list first, but only when something has told it on the same
// handle that the device is gone.
#include <functional>
#include <ostream>
#include <tuple>

#include "tests/support/libusb_release.h"
#include "tests/video/video_fixture.h"

namespace {

using test_support::LibusbRelease;
using Strings = std::vector<std::string>;

constexpr char kList[] = "get_device_list";
constexpr char kFreeList[] = "free_device_list";
constexpr char kIdle[] = "setting 1 0";

class LosableVideo : public VideoTest {
public:
    // What libusb may answer while the camera is open and does not stream. The
    // DisableStream that follows selects the idle setting.
    void GiveCompletion(int status, const char* line)
    {
        CompletionOverride result;
        result.status = status;
        m_bus.OverrideCompletion(1, result);
        Start();
        ASSERT_TRUE(m_log.WaitFor(line));
    }
    void GiveControl(int code)
    {
        m_bus.FailCall("libusb_control_transfer", 1, code);
        ASSERT_FALSE(SendControl());
    }
    void GiveNegotiation(int code)
    {
        m_bus.FailCall("libusb_control_transfer", 6, code);
        ASSERT_EQ(m_transport->EnableStream(3, 4, 30), -1);
    }
    void GiveSubmission(int code)
    {
        m_bus.FailCall("libusb_submit_transfer", 2, code);
        ASSERT_EQ(m_transport->EnableStream(3, 4, 30), 0) << "that of the last one";
    }
    void GiveResubmission(int code)
    {
        Start();
        const std::size_t before = m_bus.CallCount("libusb_submit_transfer");
        m_bus.FailCall("libusb_submit_transfer", 1, code);
        SendPayload();
        ASSERT_TRUE(
            m_bus.WaitForCalls("libusb_submit_transfer", before + 1, test_support::kPatience));
    }
    /// Given when the stream is stopped. The transfer then ends by itself.
    void GiveCancellation(int code)
    {
        Start();
        m_bus.FailCall("libusb_cancel_transfer", 1, code);
        m_bus.OnCall("libusb_cancel_transfer", When::kAfter, [this](const Call& call) {
            if (call.failed_by_rule)
                SendPayload();
        });
    }
    void GiveSetting(int code)
    {
        m_bus.FailCall("libusb_set_interface_alt_setting", 1, code);
        m_transport->DisableStream();
    }

protected:
    void SetUp() override
    {
        m_camera->OfferVideo(4096, 1024);
        m_bus.EnableCallLog();
        m_transport = std::make_unique<Transport>();
        ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
    }
    void TearDown() override
    {
        m_bus.ClearRules();
        if (m_transport)
            m_transport->DisableStream();
        CloseCleanly(m_transport);
        VideoTest::TearDown();
    }
    void Start() { ASSERT_EQ(m_transport->EnableStream(3, 4, 30), 0); }
    void StreamOnce()
    {
        Start();
        m_transport->DisableStream();
    }
    void SendPayload() { m_camera->QueuePayload(0, Pattern(10, 1)); }
    bool SendControl()
    {
        unsigned char data[8] = {};
        return m_transport->UVC_query_ctrl(kSetCur, 6, 0, 1, data, sizeof data, 1000) == 8;
    }

    static constexpr unsigned char kSetCur = 0x01;
    std::unique_ptr<Transport> m_transport;
};

struct Answer {
    const char* name;
    std::function<void(LosableVideo&)> give;
};

std::ostream& operator<<(std::ostream& out, const Answer& answer)
{
    return out << answer.name;
}

// -- The camera is gone --------------------------------------------------------

const Answer kSigns[] = {
    {"Completion",
     [](LosableVideo& test) {
         test.GiveCompletion(LIBUSB_TRANSFER_NO_DEVICE, "LIBUSB_TRANSFER_NO_DEVICE \r\n");
     }},
    {"Control", [](LosableVideo& test) { test.GiveControl(LIBUSB_ERROR_NO_DEVICE); }},
    {"Negotiation", [](LosableVideo& test) { test.GiveNegotiation(LIBUSB_ERROR_NO_DEVICE); }},
    {"Submission", [](LosableVideo& test) { test.GiveSubmission(LIBUSB_ERROR_NO_DEVICE); }},
    {"Resubmission", [](LosableVideo& test) { test.GiveResubmission(LIBUSB_ERROR_NO_DEVICE); }},
    {"Cancellation", [](LosableVideo& test) { test.GiveCancellation(LIBUSB_ERROR_NO_DEVICE); }},
    {"Setting", [](LosableVideo& test) { test.GiveSetting(LIBUSB_ERROR_NO_DEVICE); }},
};

class SignOfLoss : public LosableVideo,
                   public testing::WithParamInterface<std::tuple<LibusbRelease, Answer>> {
protected:
    void SetUp() override
    {
        test_support::Pretend(std::get<0>(GetParam()));
        LosableVideo::SetUp();
        StreamOnce();
        ASSERT_THAT(LookAndSettingLines(), ElementsAre(kIdle, kIdle, kIdle))
            << "nothing was lost so far";
    }
    void Give()
    {
        m_bus.ClearCallLog();
        std::get<1>(GetParam()).give(*this);
    }
};

TEST_P(SignOfLoss, MakesTheTransportLookBeforeTheNextSetting)
{
    Give();
    EXPECT_EQ(m_bus.CallCount("libusb_get_device_list"), 0U) << "the sign alone";
    m_bus.ClearCallLog();
    const bool streams = m_transport->IsStreaming();
    m_transport->DisableStream();
    // The device is listed, so the settings are selected as always.
    Strings expected{kList, kFreeList, kIdle};
    if (streams)
        expected.insert(expected.end(), {kList, kFreeList, kIdle});
    EXPECT_EQ(LookAndSettingLines(), expected);
}

TEST_P(SignOfLoss, KeepsTheSettingFromADeviceThatIsNotListed)
{
    Give();
    m_bus.ClearCallLog();
    m_bus.OnCall("libusb_get_device_list", When::kBefore,
                 [this](const Call&) { m_bus.Detach(m_camera); });
    const bool streams = m_transport->IsStreaming();
    m_transport->DisableStream();
    Strings expected{kList, kFreeList};
    if (streams)
        expected.insert(expected.end(), {kList, kFreeList});
    EXPECT_EQ(LookAndSettingLines(), expected);
    EXPECT_EQ(m_log.Contains("UAC_DisableVideoStream: IF = 1, Alt = 0 Error!!"), streams);
}

struct SignName {
    std::string operator()(
        const testing::TestParamInfo<std::tuple<LibusbRelease, Answer>>& info) const
    {
        return test_support::NameOf(std::get<0>(info.param)) + "_" + std::get<1>(info.param).name;
    }
};

INSTANTIATE_TEST_SUITE_P(
    With, SignOfLoss,
    testing::Combine(testing::ValuesIn(test_support::kFragileReleases), testing::ValuesIn(kSigns)),
    SignName());

// -- It is not -----------------------------------------------------------------

const Answer kOtherAnswers[] = {
    {"CompletionWithError",
     [](LosableVideo& test) {
         test.GiveCompletion(LIBUSB_TRANSFER_ERROR, "Audio Transfer Unknown Status=1\r\n");
     }},
    {"CompletionWithStall",
     [](LosableVideo& test) {
         test.GiveCompletion(LIBUSB_TRANSFER_STALL, "Audio Transfer Unknown Status=4\r\n");
     }},
    {"CompletionWithTimeOut",
     [](LosableVideo& test) {
         test.GiveCompletion(LIBUSB_TRANSFER_TIMED_OUT, "LIBUSB_TRANSFER_TIMED_OUT! EP = 81\n");
     }},
    {"CompletionWithOverflow",
     [](LosableVideo& test) {
         test.GiveCompletion(LIBUSB_TRANSFER_OVERFLOW, "LIBUSB_TRANSFER_OVERFLOW! EP = 81\n");
     }},
    {"StalledControl", [](LosableVideo& test) { test.GiveControl(LIBUSB_ERROR_PIPE); }},
    {"SilentControl", [](LosableVideo& test) { test.GiveControl(LIBUSB_ERROR_TIMEOUT); }},
    {"FailedControl", [](LosableVideo& test) { test.GiveControl(LIBUSB_ERROR_IO); }},
    {"RefusedNegotiation", [](LosableVideo& test) { test.GiveNegotiation(LIBUSB_ERROR_PIPE); }},
    {"FailedSubmission", [](LosableVideo& test) { test.GiveSubmission(LIBUSB_ERROR_IO); }},
    {"FailedResubmission", [](LosableVideo& test) { test.GiveResubmission(LIBUSB_ERROR_IO); }},
    {"LateCancellation",
     [](LosableVideo& test) { test.GiveCancellation(LIBUSB_ERROR_NOT_FOUND); }},
    {"MissingSetting", [](LosableVideo& test) { test.GiveSetting(LIBUSB_ERROR_NOT_FOUND); }},
    {"FailedSetting", [](LosableVideo& test) { test.GiveSetting(LIBUSB_ERROR_OTHER); }},
};

struct AnswerName {
    std::string operator()(const testing::TestParamInfo<Answer>& info) const
    {
        return info.param.name;
    }
};

class OtherAnswer : public LosableVideo, public testing::WithParamInterface<Answer> {
protected:
    void SetUp() override
    {
        test_support::Pretend(test_support::kFragileReleases[1]);
        LosableVideo::SetUp();
    }
};

TEST_P(OtherAnswer, IsNoSignOfLoss)
{
    GetParam().give(*this);
    m_bus.ClearCallLog();
    const bool streams = m_transport->IsStreaming();
    m_transport->DisableStream();
    EXPECT_EQ(LookAndSettingLines(), Strings(streams ? 2 : 1, kIdle));
}

INSTANTIATE_TEST_SUITE_P(Of, OtherAnswer, testing::ValuesIn(kOtherAnswers), AnswerName());

// -- Corners -------------------------------------------------------------------

class LostVideo : public LosableVideo {
protected:
    void SetUp() override
    {
        test_support::Pretend(test_support::kFragileReleases[0]);
        LosableVideo::SetUp();
        ASSERT_THAT(LookAndSettingLines(), ElementsAre(kIdle)) << "nothing was lost so far";
        m_bus.ClearCallLog();
    }
    void ShowLoss()
    {
        GiveControl(LIBUSB_ERROR_NO_DEVICE);
    }
};

TEST_F(LostVideo, DeviceIsAskedForOnceUntilItSaysThatItIsGone)
{
    m_camera->Plug(false);
    m_transport->DisableStream();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kIdle));
    m_bus.ClearCallLog();
    m_transport->DisableStream();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kList, kFreeList));
}

TEST_F(LostVideo, TransfersThatEndWhenTheirFramesAreGoneAreASign)
{
    Start();
    m_bus.OnCall("libusb_cancel_transfer", When::kBefore,
                 [this](const Call&) { m_bus.Detach(m_camera); });
    m_transport->DisableStream();
    EXPECT_FALSE(m_log.Contains("LIBUSB_TRANSFER_NO_DEVICE")) << "the frames were not gone";
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kList, kFreeList, kList, kFreeList));
}

TEST_F(LostVideo, TransferThatEndsOnTheThreadOfAControlRequestIsASign)
{
    // Without an event thread the request handles the events, so that the
    // transfer is parked and never taken up.
    m_transport.reset();
    const auto transport = std::make_unique<PumpedTransport>();
    ASSERT_EQ(transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
    CompletionOverride gone;
    gone.status = LIBUSB_TRANSFER_NO_DEVICE;
    m_bus.OverrideCompletion(1, gone);
    ASSERT_EQ(transport->UVC_EnableVideoStream(3, 4, 30), 0);
    unsigned completions = 0;
    m_bus.OnCall("completion", When::kAfter, [&](const Call& call) {
        completions += call.status == LIBUSB_TRANSFER_NO_DEVICE;
    });
    unsigned char data[8] = {};
    ASSERT_EQ(transport->UVC_query_ctrl(kSetCur, 6, 0, 1, data, sizeof data, 1000), 8);
    ASSERT_EQ(completions, 1U);
    m_bus.ClearCallLog();
    EXPECT_EQ(transport->UVC_DisableVideoStream(), 0);
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kList, kFreeList, kIdle));
}

TEST_F(LostVideo, DeviceThatIsBackIsAnotherOne)
{
    m_camera->Plug(false);
    EXPECT_FALSE(SendControl());
    m_camera->Plug(true);
    m_bus.ClearCallLog();
    m_transport->DisableStream();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kList, kFreeList));
}

TEST_F(LostVideo, DeviceIsNotAskedForWhenTheListFails)
{
    ShowLoss();
    m_bus.FailCall("libusb_get_device_list", 0, LIBUSB_ERROR_NO_MEM);
    m_transport->DisableStream();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kList));
}

TEST_F(LostVideo, NewHandleBeginsWithoutASign)
{
    m_transport = std::make_unique<Transport>();
    for (const char* const call : {"libusb_get_configuration", "libusb_claim_interface"}) {
        m_bus.FailCall(call, 1, LIBUSB_ERROR_NO_DEVICE);
        ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), -1) << call;
    }
    // Giving the first interface back fails, too.
    m_bus.FailCall("libusb_claim_interface", 2, LIBUSB_ERROR_NO_DEVICE);
    m_bus.FailCall("libusb_release_interface", 1, LIBUSB_ERROR_NO_DEVICE);
    ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), -1);
    m_bus.ClearRules();
    m_bus.ClearCallLog();
    ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
    StreamOnce();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kIdle, kIdle, kIdle));
}

class LostVideoWith : public LosableVideo, public testing::WithParamInterface<LibusbRelease> {};

TEST_P(LostVideoWith, IsLeftToLibusb)
{
    test_support::Pretend(GetParam());
    GiveControl(LIBUSB_ERROR_NO_DEVICE);
    m_camera->Plug(false);
    m_bus.ClearCallLog();
    m_transport->DisableStream();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kIdle));
}

INSTANTIATE_TEST_SUITE_P(Sturdy, LostVideoWith, testing::ValuesIn(test_support::kSturdyReleases),
                         test_support::ReleaseName());

}  // namespace
