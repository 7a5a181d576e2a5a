// A camera that one handle has found to be gone: the other looks, too. The
// kernel does not tell each of them.
#include <ostream>

#include "api/device_commands.h"
#include "tests/camera/camera_fixture.h"
#include "tests/support/libusb_release.h"
#include "tests/video/usb_calls.h"

namespace {

using testing::ElementsAre;
using vcam::standin::Call;
using vcam::standin::CompletionOverride;

constexpr char kList[] = "get_device_list";
constexpr char kFreeList[] = "free_device_list";
constexpr char kAudioIdle[] = "setting 3 0";
constexpr char kVideoIdle[] = "setting 1 0";

class LostHandle : public CameraTest {
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        if (IsSkipped())
            return;
        test_support::Pretend(test_support::kFragileReleases[1]);
        m_bus.EnableCallLog();
        MakeAndConnect(kCalder);
    }
    void Start()
    {
        ASSERT_TRUE(m_camera->StartRecording());
        m_bus.ClearCallLog();
    }
    /// The next transfer of this endpoint ends because the device is gone.
    void LoseTransfer(std::uint8_t endpoint)
    {
        CompletionOverride gone;
        gone.status = LIBUSB_TRANSFER_NO_DEVICE;
        m_bus.OverrideCompletion(
            1, gone, [endpoint](const Call& call) { return call.endpoint == endpoint; });
    }
    /// The next control request to this unit or interface fails because the
    /// device is gone.
    void LoseRequest(std::uint16_t index)
    {
        m_bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_NO_DEVICE,
                       [index](const Call& call) { return call.setup.index == index; });
    }
};

TEST_F(LostHandle, TransferOfVideo)
{
    LoseTransfer(ScriptedCamera::kVideoEndpoint);
    Start();
    ASSERT_TRUE(m_log.WaitFor("LIBUSB_TRANSFER_NO_DEVICE \r\n"));
    ASSERT_TRUE(m_camera->StopRecording());
    EXPECT_THAT(LookAndSettingLines(),
                ElementsAre(kList, kFreeList, kAudioIdle, kList, kFreeList, kVideoIdle, kList,
                            kFreeList, kVideoIdle));
}

TEST_F(LostHandle, TransferOfAudio)
{
    LoseTransfer(ScriptedCamera::kAudioEndpoint);
    Start();
    ASSERT_TRUE(m_log.WaitFor("LIBUSB_TRANSFER_NO_DEVICE \r\n"));
    ASSERT_TRUE(m_camera->StopRecording());
    EXPECT_THAT(LookAndSettingLines(),
                ElementsAre(kList, kFreeList, kAudioIdle, kList, kFreeList, kVideoIdle, kList,
                            kFreeList, kVideoIdle));
}

TEST_F(LostHandle, RequestOfVideo)
{
    Start();
    LoseRequest(0x0600);
    EXPECT_FALSE(Set(CAM_PROPERTY_FORCE_I, 1));
    ASSERT_TRUE(m_camera->StopRecording());
    EXPECT_THAT(LookAndSettingLines(),
                ElementsAre(kList, kFreeList, kAudioIdle, kList, kFreeList, kVideoIdle, kList,
                            kFreeList, kVideoIdle));
}

TEST_F(LostHandle, RequestOfAudio)
{
    Start();
    LoseRequest(0x0503);
    Set(CAM_PROPERTY_MICVOLUME, 10);
    ASSERT_TRUE(m_log.Contains("UAC_SetCurVolume: Error: (-4)\n"));
    ASSERT_TRUE(m_camera->StopRecording());
    EXPECT_THAT(LookAndSettingLines(),
                ElementsAre(kList, kFreeList, kAudioIdle, kList, kFreeList, kVideoIdle, kList,
                            kFreeList, kVideoIdle));
}

TEST_F(LostHandle, RequestOfAHostThatOpenedTheCameraItself)
{
    Start();
    _KelDevHandle* const host =
        OpenKelDevice(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID, kNoInterface);
    ASSERT_NE(host, nullptr);
    LoseRequest(0x0600);
    unsigned char version[6] = {};
    EXPECT_NE(KelXU_GetFWVersion(host, version), 0);
    CloseKelDevice(host);
    m_bus.ClearCallLog();
    ASSERT_TRUE(m_camera->StopRecording());
    EXPECT_THAT(LookAndSettingLines(), ElementsAre(kAudioIdle, kVideoIdle, kVideoIdle));
}

TEST_F(LostHandle, EndsWithItsCamera)
{
    Start();
    LoseRequest(0x0600);
    EXPECT_FALSE(Set(CAM_PROPERTY_FORCE_I, 1));
    m_camera.reset();
    m_bus.ClearCallLog();
    // A new camera object has new handles.
    MakeAndConnect(kOther);
    ASSERT_TRUE(m_camera->StartRecording());
    ASSERT_TRUE(m_camera->StopRecording());
    EXPECT_THAT(LookAndSettingLines(),
                ElementsAre(kVideoIdle, kAudioIdle, "setting 3 1", kVideoIdle, kAudioIdle,
                            kVideoIdle, kVideoIdle));
}

}  // namespace
