// What a host sets arrives at the camera.
#include "tests/kernel/kernel_fixture.h"
#include "virtual_camera/model/controls.h"
#include "virtual_camera/model/topology.h"

namespace kernel_test
{
namespace
{

using Controls = KernelTest;

TEST_F(Controls, ZoomPanTiltAndMainsFrequencyArrive)
{
    CreateAndInit();
    EXPECT_TRUE(Set(CAM_PROPERTY_ZOOM, 321));
    EXPECT_EQ(m_camera.ControlValue(vcam::kCameraTerminal, vcam::kZoomAbsolute), 321);
    EXPECT_TRUE(Set(CAM_PROPERTY_PAN, 2));
    EXPECT_TRUE(Set(CAM_PROPERTY_TILT, -1));
    EXPECT_EQ(m_camera.ControlValue(vcam::kCameraTerminal, vcam::kPanTiltAbsolute, 0), 7200);
    EXPECT_EQ(m_camera.ControlValue(vcam::kCameraTerminal, vcam::kPanTiltAbsolute, 1), -3600);
    EXPECT_TRUE(Set(CAM_PROPERTY_FREQUENCY, 1));
    EXPECT_EQ(m_camera.ControlValue(vcam::kProcessingUnit, vcam::kPowerLineFrequency), 2);
    EXPECT_TRUE(Set(CAM_PROPERTY_FREQUENCY, 2));
    EXPECT_EQ(m_camera.ControlValue(vcam::kProcessingUnit, vcam::kPowerLineFrequency), 1);
}

TEST_F(Controls, VolumeIndicatorAndKeyFrameArrive)
{
    CreateAndInit(kDualH264);
    EXPECT_EQ(m_camera.State("led"), 0u);
    FrameCollector& main = Observe(CAM_STREAM_H264_MAIN);
    ASSERT_TRUE(m_subject->StartRecording());
    ASSERT_TRUE(main.WaitFor(2));
    EXPECT_EQ(m_camera.State("led"), 1u);
    EXPECT_TRUE(Set(CAM_PROPERTY_MICVOLUME, 100));
    EXPECT_EQ(m_camera.ControlValue(vcam::kFeatureUnit, vcam::kVolume), 0);
    EXPECT_TRUE(Set(CAM_PROPERTY_MICVOLUME, 0));
    EXPECT_EQ(m_camera.ControlValue(vcam::kFeatureUnit, vcam::kVolume), -4096);
    const std::uint64_t before = m_camera.State("key-requests");
    EXPECT_TRUE(Set(CAM_PROPERTY_FORCE_I, 0));
    EXPECT_EQ(m_camera.State("key-requests"), before + 1);
    EXPECT_EQ(m_camera.State("audio-rate"), 24000u);
    EXPECT_TRUE(m_subject->StopRecording());
    EXPECT_EQ(m_camera.State("led"), 0u);
}

TEST_F(Controls, PropertiesAreReadFromTheCamera)
{
    CreateAndInit();
    EXPECT_EQ(Get(CAM_PROPERTY_ISP_STATUS), 0x12);
    EXPECT_EQ(Get(CAM_PROPERTY_CONNECTION_CHECK), 1);
    EXPECT_EQ(Get(CAM_PROPERTY_VIDEO_AUTO_TEST), 1);
    EXPECT_TRUE(Set(CAM_PROPERTY_USER_FLAG, 5));
    EXPECT_EQ(Get(CAM_PROPERTY_USER_FLAG), 5);
}

}  // namespace
}  // namespace kernel_test
