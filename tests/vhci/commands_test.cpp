// What a test in the guest may ask the server.
#include <gtest/gtest.h>

#include <stdexcept>

#include "virtual_camera/model/topology.h"
#include "virtual_camera/vhci/test_commands.h"

namespace {

using vcam::vhci::RunCommand;

class Commands : public testing::Test {
protected:
    vcam::CameraModel m_camera;
};

TEST_F(Commands, UnknownOneIsRefusedByName)
{
    try {
        RunCommand(m_camera, "dance", "");
        FAIL();
    } catch (const std::invalid_argument& problem) {
        EXPECT_STREQ(problem.what(), "no such command: dance");
    }
}

TEST_F(Commands, NumbersAreLookedAt)
{
    EXPECT_THROW(RunCommand(m_camera, "unplug-for", ""), std::invalid_argument);
    EXPECT_THROW(RunCommand(m_camera, "unplug-for 1x", ""), std::invalid_argument);
    EXPECT_THROW(RunCommand(m_camera, "unplug-for x", ""), std::invalid_argument);
}

TEST_F(Commands, PlugAndUnplug)
{
    EXPECT_TRUE(m_camera.Attached(1));
    RunCommand(m_camera, "unplug", "");
    EXPECT_FALSE(m_camera.Attached(2));
    RunCommand(m_camera, "replug", "");
    EXPECT_TRUE(m_camera.Attached(3));
    RunCommand(m_camera, "unplug-for 5", "");
    EXPECT_FALSE(m_camera.Attached(4));
    EXPECT_TRUE(m_camera.Attached(4 + 6000));
}

TEST_F(Commands, FaultsHappenAndAreCleared)
{
    const vcam::SetupPacket setup{0xA1, vcam::kGetCur, 0x0200, 0x0300, 2};
    unsigned char data[2] = {};
    RunCommand(m_camera, "faults", "control always stall\n");
    EXPECT_EQ(m_camera.Control(setup, data, 1).status, vcam::TransferStatus::kStall);
    RunCommand(m_camera, "clear-faults", "");
    EXPECT_EQ(m_camera.Control(setup, data, 2).status, vcam::TransferStatus::kCompleted);
    EXPECT_THROW(RunCommand(m_camera, "faults", "nonsense\n"), std::invalid_argument);
}

TEST_F(Commands, RequestsAreToldWithTheirBytes)
{
    unsigned char zoom[] = {0x41, 0x01};
    m_camera.Control({0x21, vcam::kSetCur, 0x0B00, 0x0100, 2}, zoom, 1);
    EXPECT_EQ(RunCommand(m_camera, "requests", ""), "21 1 b00 100 2 0 4101\n");
    EXPECT_EQ(RunCommand(m_camera, "control-value 1 0x0b", ""), "321\n");
    RunCommand(m_camera, "clear-traffic", "");
    EXPECT_EQ(RunCommand(m_camera, "requests", ""), "");
}

}  // namespace
