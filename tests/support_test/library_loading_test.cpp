// The shipped library takes the stand-in for libusb.
#include <gtest/gtest.h>

#include "tests/support/bus_check.h"
#include "tests/support/camera_library.h"
#include "tests/support/sleeps.h"
#include "tests/support/tv_root.h"
#include "virtual_camera/standin/bus.h"

namespace {

TEST(LibraryLoading, VersionAndLifeWithoutACamera)
{
    REQUIRE_TV_ROOT();
    test_support::FastSleeps sleeps(1000);
    test_support::CameraLibrary library = test_support::LoadCameraLibrary();
    EXPECT_EQ(library.Version(), 138);
    ICameraSubject* const camera = library.Create();
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(camera->GetState(), CAM_STATE_CREATED);
    camera->Init(nullptr, 0);
    auto& bus = vcam::standin::Bus::Instance();
    EXPECT_TRUE(bus.WaitForCalls("libusb_get_device_list", 1, std::chrono::seconds(30)));
    library.Destroy(camera);
    EXPECT_TRUE(test_support::BusIsClean());
}

}  // namespace
