// Alternate settings of a camera that may have left the bus, see the test of
// the same name for video.
#include <functional>
#include <ostream>
#include <tuple>

#include "tests/audio/audio_fixture.h"
#include "tests/support/libusb_release.h"
#include "tests/video/usb_calls.h"

namespace {

using test_support::LibusbRelease;
using testing::ElementsAre;
using vcam::standin::CompletionOverride;
using vcam::standin::When;

constexpr char kList[] = "get_device_list";
constexpr char kFreeList[] = "free_device_list";
constexpr char kIdle[] = "setting 3 0";
constexpr char kStreaming[] = "setting 3 1";

/// The transport with its event thread, its state laid open.
class Audio : public CKEL_AUDIO_LIB {
public:
    ~Audio() override { pThread::Stop(); }
    using CLibUSB_UacCtrl::IsStreaming;
};

class LosableAudio : public AudioTest<Audio> {
public:
    /// Control requests of a start, in their order.
    enum Request : std::size_t { kSetRate = 1, kGetRate, kGetMaximum, kGetMinimum, kSetVolume };

    // What libusb may answer while the camera is open and does not stream.
    void GiveCompletion(int status, const char* line)
    {
        CompletionOverride result;
        result.status = status;
        m_bus.OverrideCompletion(1, result);
        Start();
        ASSERT_TRUE(m_log.WaitFor(line));
    }
    void GiveRequestOfAStart(Request request, int code)
    {
        m_bus.FailCall("libusb_control_transfer", request, code);
        ASSERT_EQ(m_audio->EnableStream(kRate), request == kSetVolume ? 0 : -1);
    }
    void GiveRate(int code)
    {
        m_bus.FailCall("libusb_control_transfer", 1, code);
        ASSERT_EQ(m_audio->SetSamplingRate(kRate), code);
    }
    void GiveVolume(int code)
    {
        m_bus.FailCall("libusb_control_transfer", 1, code);
        ASSERT_EQ(m_audio->SetCurVolume(0), code);
    }
    void GiveClassRequest(int code)
    {
        unsigned char data[2] = {};
        m_bus.FailCall("libusb_control_transfer", 1, code);
        ASSERT_LT(m_audio->UVC_query_ctrl(0x01, 5, 3, 2, data, sizeof data, 1000), -1);
    }
    void GiveSubmission(int code)
    {
        m_bus.FailCall("libusb_submit_transfer", 2, code);
        ASSERT_EQ(m_audio->EnableStream(kRate), -1);
    }
    void GiveResubmission(int code)
    {
        Start();
        const std::size_t before = m_bus.CallCount("libusb_submit_transfer");
        m_bus.FailCall("libusb_submit_transfer", 1, code);
        m_camera->QueueAudio({Tone(96, 1)});
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
                m_camera->QueueAudio({Tone(96, 1)});
        });
    }
    void GiveStreamingSetting(int code)
    {
        m_bus.FailCall("libusb_set_interface_alt_setting", 1, code);
        ASSERT_EQ(m_audio->EnableStream(kRate), -1);
    }
    void GiveIdleSetting(int code)
    {
        Start();
        m_bus.FailCall("libusb_set_interface_alt_setting", 1, code);
        m_audio->DisableStream();
        ASSERT_TRUE(m_log.Contains("UAC_DisableAudioStream: IF = 3, Alt = 0 Error!!"));
    }

protected:
    void SetUp() override
    {
        m_bus.EnableCallLog();
        ASSERT_EQ(Init(), 0);
    }
    void TearDown() override
    {
        m_bus.ClearRules();
        if (m_audio)
            m_audio->DisableStream();
        AudioTest::TearDown();
    }
    void Start() { ASSERT_EQ(m_audio->EnableStream(kRate), 0); }
    void StreamOnce()
    {
        Start();
        m_audio->DisableStream();
    }
    /// Stops a stream, or starts one; the setting that this is about.
    std::string SelectNextSetting()
    {
        m_bus.ClearCallLog();
        if (m_audio->IsStreaming()) {
            m_audio->DisableStream();
            return kIdle;
        }
        m_audio->EnableStream(kRate);
        return kStreaming;
    }
};

struct Answer {
    const char* name;
    std::function<void(LosableAudio&)> give;
};

std::ostream& operator<<(std::ostream& out, const Answer& answer)
{
    return out << answer.name;
}

// -- The camera is gone --------------------------------------------------------

constexpr int kGone = LIBUSB_ERROR_NO_DEVICE;

const Answer kSigns[] = {
    {"Completion",
     [](LosableAudio& test) {
         test.GiveCompletion(LIBUSB_TRANSFER_NO_DEVICE, "LIBUSB_TRANSFER_NO_DEVICE \r\n");
     }},
    {"SetRate",
     [](LosableAudio& test) { test.GiveRequestOfAStart(LosableAudio::kSetRate, kGone); }},
    {"GetRate",
     [](LosableAudio& test) { test.GiveRequestOfAStart(LosableAudio::kGetRate, kGone); }},
    {"GetMaximum",
     [](LosableAudio& test) { test.GiveRequestOfAStart(LosableAudio::kGetMaximum, kGone); }},
    {"GetMinimum",
     [](LosableAudio& test) { test.GiveRequestOfAStart(LosableAudio::kGetMinimum, kGone); }},
    {"SetVolumeOfAStart",
     [](LosableAudio& test) { test.GiveRequestOfAStart(LosableAudio::kSetVolume, kGone); }},
    {"SetSamplingRate", [](LosableAudio& test) { test.GiveRate(kGone); }},
    {"SetVolume", [](LosableAudio& test) { test.GiveVolume(kGone); }},
    {"ClassRequest", [](LosableAudio& test) { test.GiveClassRequest(kGone); }},
    {"Submission", [](LosableAudio& test) { test.GiveSubmission(kGone); }},
    {"Resubmission", [](LosableAudio& test) { test.GiveResubmission(kGone); }},
    {"Cancellation", [](LosableAudio& test) { test.GiveCancellation(kGone); }},
    {"StreamingSetting", [](LosableAudio& test) { test.GiveStreamingSetting(kGone); }},
    {"IdleSetting", [](LosableAudio& test) { test.GiveIdleSetting(kGone); }},
};

class SignOfLoss : public LosableAudio,
                   public testing::WithParamInterface<std::tuple<LibusbRelease, Answer>> {
protected:
    void SetUp() override
    {
        test_support::Pretend(std::get<0>(GetParam()));
        LosableAudio::SetUp();
        StreamOnce();
        ASSERT_THAT(LookAndSettingLines(), ElementsAre(kIdle, kStreaming, kIdle))
            << "nothing was lost so far";
        std::get<1>(GetParam()).give(*this);
        ASSERT_EQ(m_bus.CallCount("libusb_get_device_list"), 0U) << "the sign alone";
    }
};

TEST_P(SignOfLoss, MakesTheTransportLookBeforeTheNextSetting)
{
    const std::string setting = SelectNextSetting();
    // The device is listed, so the setting is selected as always.
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kList, kFreeList, setting));
}

TEST_P(SignOfLoss, KeepsTheSettingFromADeviceThatIsNotListed)
{
    m_bus.OnCall("libusb_get_device_list", When::kBefore,
                 [this](const Call&) { m_bus.Detach(m_camera); });
    m_log.Clear();
    const std::string setting = SelectNextSetting();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kList, kFreeList));
    EXPECT_TRUE(m_log.Contains(setting == kIdle ? "UAC_DisableAudioStream: IF = 3, Alt = 0 Error!!"
                                                : "UAC_EnableAudioStream Error: IF = 3, Alt = 1"));
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
     [](LosableAudio& test) {
         test.GiveCompletion(LIBUSB_TRANSFER_ERROR, "Audio Transfer Unknown Status=1\r\n");
     }},
    {"CompletionWithTimeOut",
     [](LosableAudio& test) {
         test.GiveCompletion(LIBUSB_TRANSFER_TIMED_OUT, "LIBUSB_TRANSFER_TIMED_OUT! EP = 82\n");
     }},
    {"CompletionWithOverflow",
     [](LosableAudio& test) {
         test.GiveCompletion(LIBUSB_TRANSFER_OVERFLOW, "LIBUSB_TRANSFER_OVERFLOW! EP = 82\n");
     }},
    {"StalledRequestOfAStart",
     [](LosableAudio& test) {
         test.GiveRequestOfAStart(LosableAudio::kGetMaximum, LIBUSB_ERROR_PIPE);
     }},
    {"SilentRate", [](LosableAudio& test) { test.GiveRate(LIBUSB_ERROR_TIMEOUT); }},
    {"FailedVolume",
     [](LosableAudio& test) {
         test.GiveRequestOfAStart(LosableAudio::kSetVolume, LIBUSB_ERROR_IO);
     }},
    {"StalledClassRequest", [](LosableAudio& test) { test.GiveClassRequest(LIBUSB_ERROR_PIPE); }},
    {"FailedSubmission", [](LosableAudio& test) { test.GiveSubmission(LIBUSB_ERROR_IO); }},
    {"FailedResubmission", [](LosableAudio& test) { test.GiveResubmission(LIBUSB_ERROR_IO); }},
    {"LateCancellation",
     [](LosableAudio& test) { test.GiveCancellation(LIBUSB_ERROR_NOT_FOUND); }},
    {"MissingSetting",
     [](LosableAudio& test) { test.GiveStreamingSetting(LIBUSB_ERROR_NOT_FOUND); }},
    {"FailedSetting", [](LosableAudio& test) { test.GiveIdleSetting(LIBUSB_ERROR_OTHER); }},
};

struct AnswerName {
    std::string operator()(const testing::TestParamInfo<Answer>& info) const
    {
        return info.param.name;
    }
};

class OtherAnswer : public LosableAudio, public testing::WithParamInterface<Answer> {
protected:
    void SetUp() override
    {
        test_support::Pretend(test_support::kFragileReleases[1]);
        LosableAudio::SetUp();
    }
};

TEST_P(OtherAnswer, IsNoSignOfLoss)
{
    GetParam().give(*this);
    const std::string setting = SelectNextSetting();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(setting));
}

INSTANTIATE_TEST_SUITE_P(Of, OtherAnswer, testing::ValuesIn(kOtherAnswers), AnswerName());

// -- Corners -------------------------------------------------------------------

class LostAudio : public LosableAudio {
protected:
    void SetUp() override
    {
        test_support::Pretend(test_support::kFragileReleases[0]);
        m_bus.EnableCallLog();
    }
};

TEST_F(LostAudio, SettingOfTheOpeningIsASignToo)
{
    m_bus.FailCall("libusb_set_interface_alt_setting", 1, kGone);
    ASSERT_EQ(Init(), 0) << "the opening ignores it";
    Start();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kIdle, kList, kFreeList, kStreaming));
}

TEST_F(LostAudio, TransfersThatEndInTheTeardownAreASign)
{
    ASSERT_EQ(Init(), 0);
    Start();
    ASSERT_THAT(LookAndSettingLines(), ElementsAre(kIdle, kStreaming)) << "nothing was lost so far";
    m_bus.ClearCallLog();
    m_bus.OnCall("libusb_cancel_transfer", When::kBefore,
                 [this](const Call&) { m_bus.Detach(m_camera); });
    // The teardown pumps the completions before it selects the setting.
    m_audio->AudioTransferStop();
    m_audio->UAC_DisableAudioStream();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kList, kFreeList));
}

TEST_F(LostAudio, NewHandleBeginsWithoutASign)
{
    for (const char* const call : {"libusb_get_configuration", "libusb_claim_interface"}) {
        m_bus.FailCall(call, 1, kGone);
        ASSERT_EQ(Init(), -1) << call;
    }
    m_bus.FailCall("libusb_claim_interface", 2, kGone);
    m_bus.FailCall("libusb_set_interface_alt_setting", 1, kGone);
    ASSERT_EQ(Init(), -1);
    m_bus.ClearCallLog();
    ASSERT_EQ(Init(), 0);
    StreamOnce();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kIdle, kStreaming, kIdle));
}

class LostAudioWith : public LosableAudio, public testing::WithParamInterface<LibusbRelease> {};

TEST_P(LostAudioWith, IsLeftToLibusb)
{
    test_support::Pretend(GetParam());
    Start();
    GiveRate(kGone);
    m_camera->Plug(false);
    m_bus.ClearCallLog();
    m_audio->DisableStream();
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kIdle));
}

INSTANTIATE_TEST_SUITE_P(Sturdy, LostAudioWith, testing::ValuesIn(test_support::kSturdyReleases),
                         test_support::ReleaseName());

}  // namespace
