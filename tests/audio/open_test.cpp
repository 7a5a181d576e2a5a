// Opening and closing of the audio function.
#include "tests/audio/audio_fixture.h"

namespace {

using testing::ElementsAre;

class AudioOpen : public TransportTest {
protected:
    /// "function interface" of every call that names an interface, in order.
    std::vector<std::string> InterfaceCalls() const
    {
        std::vector<std::string> calls;
        for (const Call& call : m_bus.CallLog()) {
            if (call.function.find("interface") != std::string::npos ||
                call.function.find("kernel_driver") != std::string::npos)
                calls.push_back(call.function + " " + std::to_string(call.interface_number));
        }
        return calls;
    }
    void ExpectClosed() const { EXPECT_EQ(m_bus.Counters().handles, 0); }
};

TEST_F(AudioOpen, CallersIdIsOpenedSilently)
{
    EXPECT_EQ(Init(), 0);
    EXPECT_FALSE(m_log.Contains("Found an KEL device"));
}

TEST_F(AudioOpen, StreamingInterfaceIsClaimedAndMadeIdleBeforeControlInterface)
{
    m_bus.EnableCallLog();
    ASSERT_EQ(Init(), 0);
    EXPECT_THAT(InterfaceCalls(),
                ElementsAre("libusb_kernel_driver_active 3", "libusb_claim_interface 3",
                            "libusb_set_interface_alt_setting 3", "libusb_kernel_driver_active 2",
                            "libusb_claim_interface 2"));
    EXPECT_EQ(CallsOf("libusb_set_interface_alt_setting").at(0).value, 0);
    EXPECT_TRUE(HasLine(m_log, 4, "Init", "libusb_claim_interface (AudioStream)  ok!\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "Init", "libusb_claim_interface (AudioControl) ok!\n"));
}

TEST_F(AudioOpen, FallbackIdIsOpenedAndNamed)
{
    m_bus.DetachAll();
    m_bus.Attach(std::make_shared<ScriptedCamera>(TORVIK_CTRL_FALLBACK_VENDOR_ID,
                                                  TORVIK_CTRL_FALLBACK_PRODUCT_ID));
    EXPECT_EQ(Init(), 0);
    char line[80];
    std::snprintf(line, sizeof line, "Found an KEL device VID=0x%X, PID=0x%X\r\n",
                  TORVIK_CTRL_FALLBACK_VENDOR_ID, TORVIK_CTRL_FALLBACK_PRODUCT_ID);
    EXPECT_TRUE(HasLine(m_log, 4, "Init", line));
}

TEST_F(AudioOpen, AbsentDeviceIsReported)
{
    m_bus.DetachAll();
    EXPECT_EQ(Init(), -1);
    EXPECT_TRUE(HasLine(m_log, 4, "Init", "KEL Camera Device not found\n"));
}

TEST_F(AudioOpen, UnreadableConfigurationClosesTheDevice)
{
    m_bus.FailCall("libusb_get_configuration", 1, LIBUSB_ERROR_IO);
    EXPECT_EQ(Init(), -1);
    EXPECT_TRUE(HasLine(m_log, 4, "Init", "libusb_get_configuration Error!\n"));
    ExpectClosed();
}

TEST_F(AudioOpen, KernelDriversAreDetachedFromBothInterfaces)
{
    m_bus.DetachAll();
    m_bus.Attach(m_camera, {true});
    m_bus.EnableCallLog();
    EXPECT_EQ(Init(), 0);
    const auto calls = CallsOf("libusb_detach_kernel_driver");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].interface_number, 3);
    EXPECT_EQ(calls[1].interface_number, 2);
}

TEST_F(AudioOpen, FailedDetachIsLoggedAndNotTheEnd)
{
    // The question for a driver fails too, which counts as a yes.
    m_bus.FailCall("libusb_kernel_driver_active", 0, LIBUSB_ERROR_NOT_SUPPORTED);
    m_bus.FailCall("libusb_detach_kernel_driver", 0, LIBUSB_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(m_log.Count("libusb_detach_kernel_driver fail!(-12)\n"), 2u);
    EXPECT_TRUE(HasLine(m_log, 4, "Init", "libusb_detach_kernel_driver fail!(-12)\n"));
}

TEST_F(AudioOpen, RefusedStreamingInterfaceClosesTheDevice)
{
    m_bus.FailCall("libusb_claim_interface", 1, LIBUSB_ERROR_BUSY);
    EXPECT_EQ(Init(), -1);
    EXPECT_TRUE(HasLine(m_log, 4, "Init", "libusb_claim_interface (AudioStream) fail!(-6)\n"));
    ExpectClosed();
}

TEST_F(AudioOpen, RefusedControlInterfaceClosesTheDevice)
{
    m_bus.FailCall("libusb_claim_interface", 2, LIBUSB_ERROR_BUSY);
    EXPECT_EQ(Init(), -1);
    EXPECT_TRUE(HasLine(m_log, 4, "Init", "libusb_claim_interface (AudioControl)  fail!(-6)\n"));
    ExpectClosed();
}

TEST_F(AudioOpen, IdleSettingThatFailsIsIgnored)
{
    m_bus.FailCall("libusb_set_interface_alt_setting", 1, LIBUSB_ERROR_IO);
    EXPECT_EQ(Init(), 0);
}

TEST_F(AudioOpen, FailedContextMeansNoDevice)
{
    m_audio.reset();
    m_bus.FailCall("libusb_init", 1, LIBUSB_ERROR_NO_MEM);
    m_audio = std::make_unique<CLibUSB_UacCtrl>();
    EXPECT_EQ(Init(), -1);
}

TEST_F(AudioOpen, DestructorReleasesInterfaceOneAndCloses)
{
    ASSERT_EQ(Init(), 0);
    m_bus.EnableCallLog();
    m_audio.reset();
    const auto released = CallsOf("libusb_release_interface");
    ASSERT_EQ(released.size(), 1u);
    EXPECT_EQ(released[0].interface_number, 1);
    std::vector<std::string> order;
    for (const Call& call : m_bus.CallLog())
        order.push_back(call.function);
    EXPECT_THAT(order, ElementsAre("libusb_release_interface", "libusb_close", "libusb_exit"));
    EXPECT_TRUE(HasLine(m_log, 4, "~CLibUSB_UacCtrl", "CLibUSB_UacCtrl::~CLibUSB_UacCtrl() +\r\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "~CLibUSB_UacCtrl", "CLibUSB_UacCtrl::~CLibUSB_UacCtrl() -\r\n"));
}

TEST_F(AudioOpen, PlaceholdersAnswerZero)
{
    EXPECT_EQ(m_audio->UAC_GetSupportedSampleFreqCount(), 0);
    EXPECT_EQ(m_audio->UAC_GetSupportedSampleFreq(3), 0);
    EXPECT_EQ(m_audio->UAC_GetNumberOfPutputChannel(), 0);
}

TEST_F(EventThreadTest, ThreadOfAFailedEnableEndsBehindTheDestructorsLines)
{
    ASSERT_EQ(m_audio->EnableStream(24000), -1) << "no device";
    ASSERT_TRUE(m_bus.WaitForCalls("libusb_handle_events_timeout", 1, test_support::kPatience));
    m_audio.reset();
    EXPECT_TRUE(InOrder(m_log, {"~CKEL_AUDIO_LIB()+", "~CKEL_AUDIO_LIB()-",
                                "Exit libusb thread", "~CLibUSB_UacCtrl() +"}));
}

TEST_F(EventThreadTest, DestructorLogsBeforeTheTransport)
{
    m_audio.reset();
    EXPECT_TRUE(HasLine(m_log, 4, "~CKEL_AUDIO_LIB", "CKEL_AUDIO_LIB::~CKEL_AUDIO_LIB()+"));
    EXPECT_TRUE(HasLine(m_log, 4, "~CKEL_AUDIO_LIB", "CKEL_AUDIO_LIB::~CKEL_AUDIO_LIB()-"));
    EXPECT_TRUE(InOrder(m_log, {"~CKEL_AUDIO_LIB()+", "~CKEL_AUDIO_LIB()-",
                                "~CLibUSB_UacCtrl() +", "~CLibUSB_UacCtrl() -"}));
}

}  // namespace
