#include <gtest/gtest.h>

#include "host_side.h"

namespace vcam::test {
namespace {

struct Device : testing::Test {
    CameraModel camera;
    HostSide host{camera};
};

using Descriptors = Device;
using Control = Device;
using Commands = Device;
using Faults = Device;

TEST_F(Descriptors, EveryLengthFieldAgreesWithWhatFollows)
{
    for (const Identity identity :
         {Identity::kCamera, Identity::kBootLoaderBulk, Identity::kBootLoaderUvc}) {
        CameraOptions options;
        options.identity = identity;
        const Bytes all = CameraModel(options).ConfigurationDescriptor();
        EXPECT_EQ(LoadLe(&all[2], 2), all.size());
        unsigned interfaces = 0;
        std::size_t class_end = 0;
        std::size_t at = 0;
        for (; at < all.size(); at += all[at]) {
            ASSERT_GE(all[at], 2);
            if (all[at + 1] == 0x04) {
                EXPECT_TRUE(class_end == 0 || at >= class_end);
                interfaces += all[at + 3] == 0;
                class_end = 0;
            }
            const bool control_header = all[at + 1] == 0x24 && all[at + 2] == 0x01;
            if (control_header && all[at] >= 9)  // the headers with a total length
                class_end = at + static_cast<std::size_t>(
                                     LoadLe(&all[at + (all[at] == 16 ? 4U : 5U)], 2));
        }
        EXPECT_EQ(at, all.size());
        EXPECT_EQ(interfaces, all[4]);
    }
}

TEST_F(Control, EveryControlAnswersAllItsRequestsUnderBothRecipients)
{
    const Controls controls{CameraOptions{}};
    for (const ControlRow& row : controls.Rows()) {
        SCOPED_TRACE(row.name);
        const unsigned index = row.entity == kFeatureUnit ? 0x0503U : unsigned{row.entity} << 8U;
        const std::size_t length = std::size_t{row.fields} * row.width;
        for (const std::uint8_t request : {kGetCur, kGetMin, kGetMax, kGetRes})
            EXPECT_EQ(host.In(0xA1, request, unsigned{row.selector} << 8U, index, length).size(),
                      length);
        if (row.entity == kFeatureUnit)
            continue;
        EXPECT_EQ(host.In(0xA0, kGetDef, unsigned{row.selector} << 8U, index, length).size(),
                  length);
        EXPECT_EQ(host.In(0xA1, kGetInfo, unsigned{row.selector} << 8U, index, 1), Bytes{3});
        EXPECT_EQ(host.In(0xA1, kGetLen, unsigned{row.selector} << 8U, index, 2),
                  (Bytes{static_cast<std::uint8_t>(length), 0}));
    }
    EXPECT_TRUE(host.In(0xA1, kGetCur, 0x1200, 0x0300, 2).empty());
    EXPECT_EQ(host.status, TransferStatus::kStall);
    EXPECT_EQ(host.In(0xA1, kGetCur, 0x0200, 0x0000, 1), Bytes{6});
}

TEST_F(Control, ValuesAreStoredSigned)
{
    host.Out(0x20, kSetCur, 0x0D00, 0x0100, {0x20, 0x1C, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(camera.ControlValue(kCameraTerminal, kPanTiltAbsolute, 0), 7200);
    EXPECT_EQ(camera.ControlValue(kCameraTerminal, kPanTiltAbsolute, 1), -2);
    host.Out(0x21, kSetCur, 0x0200, 0x0503, {0x00, 0xF8});
    EXPECT_EQ(camera.ControlValue(kFeatureUnit, kVolume), -2048);
}

TEST_F(Commands, ResultsFollowTheirCommands)
{
    host.Isp({10, 3, 0x34, 0x12, 0xCD, 0xAB});
    EXPECT_EQ(camera.SensorRegister(0x1234), 0xABCD);
    host.Isp({10, 2, 0x34, 0x12});
    EXPECT_EQ(host.In(0xA0, kGetCur, 0x0200, 0x0600, 8), (Bytes{0, 0, 0xCD, 0xAB, 0, 0, 0, 0}));
    host.Isp({11});
    EXPECT_EQ(host.In(0xA1, kGetCur, 0x0200, 0x0600, 8), (Bytes{0, 0, 0, 1, 0, 0x26, 0, 0x38}));
    host.Mmp({2, 2, 0x0D, 0x0C, 0x0B, 0x0A});
    host.Mmp({2, 1});
    EXPECT_EQ(host.In(0xA1, kGetCur, 0x0F00, 0x0600, 16),
              (Bytes{0, 0x0D, 0x0C, 0x0B, 0x0A, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    host.Mmp({18});
    EXPECT_EQ(host.In(0xA1, kGetCur, 0x0F00, 0x0600, 16), Bytes(16));
    host.Command(CommandUnit::kIndicator, {14, 0, 1, 0, 0, 0, 0, 0});
    EXPECT_TRUE(camera.Controller().led);
    host.Mmp({13, 1});
    host.Isp({8, 0xFF, 0x20, 0x03});
    EXPECT_EQ(camera.Controller().bit_rate[1], 800);
    EXPECT_EQ(camera.Controller().bit_rate[0], 0);
    host.Mmp({7, 0});
    host.Mmp({7, 2});
    EXPECT_FALSE(camera.Controller().flash_protected);
    EXPECT_EQ(camera.Commands(CommandUnit::kMmpCommand).size(), 6U);
}

TEST_F(Commands, FacesTravelByVendorRequests)
{
    host.Out(0x40, 2, 0, 0, Bytes(32, 7));
    EXPECT_EQ(camera.FaceParameters(), Bytes(32, 7));
    camera.SetFaces({{{1, 2, 3, 0x405}}});
    Bytes expected{1, 1, 0, 2, 0, 3, 0, 5, 4};
    expected.resize(81);
    EXPECT_EQ(host.In(0xC0, 1, 0, 0, 81), expected);
}

TEST_F(Faults, EveryFifthContainerIsLostAndItsNumbersWithIt)
{
    camera.AddFaults("container every 5 lose\n");
    host.StartVideo();
    std::vector<std::uint32_t> numbers;
    for (const Bytes& container : host.ReadFrames(8))
        numbers.push_back(ParseContainer(container).at(0).number);
    EXPECT_EQ(numbers, (std::vector<std::uint32_t>{0, 1, 2, 3, 5, 6, 7, 8}));
    EXPECT_EQ(camera.Totals(Stream::kMain).spoiled, 1U);
}

TEST_F(Faults, PayloadFaultsSpoilOnlyWhatTheyMust)
{
    camera.AddFaults("payload at 1 extra-err\npayload at 2 header 13\n");
    host.StartVideo(3);
    host.ReadFrames(4);
    const auto frames = camera.Frames(Stream::kMain);
    EXPECT_FALSE(frames.at(0).whole);
    EXPECT_TRUE(frames.at(1).whole);
}

TEST_F(Faults, TransfersEndAsAsked)
{
    camera.AddFaults(
        "payload at 1 timeout\npayload at 2 overflow\npayload at 3 stall\n"
        "payload at 4 delay 500\npayload at 5 short 3\npayload at 6 halt");
    host.StartVideo();
    Bytes buffer(8192);
    EXPECT_EQ(host.Bulk(buffer).status, TransferStatus::kTimeout);
    EXPECT_EQ(host.Bulk(buffer).status, TransferStatus::kOverflow);
    EXPECT_EQ(host.Bulk(buffer).status, TransferStatus::kStall);
    const TimeUs before = host.now;
    EXPECT_EQ(host.Bulk(buffer).length, 8192U);
    EXPECT_EQ(host.now - before, 500000U);
    EXPECT_EQ(host.Bulk(buffer).length, 3U);
    EXPECT_EQ(host.Bulk(buffer).status, TransferStatus::kStall);
    EXPECT_EQ(host.Bulk(buffer).status, TransferStatus::kStall);
    camera.ClearHalt(kVideoEndpoint, host.now);
    EXPECT_EQ(host.Bulk(buffer).status, TransferStatus::kCompleted);
}

TEST_F(Faults, ControlFaultsMatchTheirRequests)
{
    camera.AddFaults(
        "control entity 6 selector 2 request 0x81 from 2 to 3 timeout\n"
        "control entity 3 at 1 short 1");
    EXPECT_EQ(host.In(0xA1, kGetCur, 0x0200, 0x0300, 2).size(), 1U);
    EXPECT_EQ(host.In(0xA1, kGetCur, 0x0200, 0x0600, 8).size(), 8U);
    for (int i = 0; i < 2; ++i) {
        host.In(0xA1, kGetCur, 0x0200, 0x0600, 8);
        EXPECT_EQ(host.status, TransferStatus::kTimeout);
    }
    EXPECT_EQ(host.In(0xA1, kGetCur, 0x0200, 0x0600, 8).size(), 8U);
}

TEST_F(Faults, ItLeavesTheBusAndComesBackAsAnotherSession)
{
    camera.AddFaults("container at 3 unplug back 2000");
    host.StartVideo();
    EXPECT_EQ(host.ReadFrames(10).size(), 2U);
    EXPECT_FALSE(camera.Attached(host.now));
    EXPECT_EQ(host.Out(0x20, kSetCur, 0x0400, 0x0600, Bytes(8)).status, TransferStatus::kNoDevice);
    EXPECT_FALSE(camera.Attached(host.now + 1999999));
    const unsigned session = camera.Session(host.now);
    EXPECT_TRUE(camera.Attached(host.now + 2000000));
    EXPECT_NE(camera.Session(host.now), session);
    EXPECT_FALSE(camera.VideoStreaming());
}

TEST(Script, MistakesAreNamedWithTheirLine)
{
    for (const char* text :
         {"\nset nothing 1", "\npayload at 0 err", "\ncontainer at 1 stall", "\npayload at 1 err 7",
          "\nset seed -1", "\nwhat", "\niso sometimes"}) {
        try {
            ParseScript(text, {});
            ADD_FAILURE() << text;
        } catch (const std::invalid_argument& problem) {
            EXPECT_EQ(std::string(problem.what()).rfind("line 2: ", 0), 0U) << problem.what();
        }
    }
}

}  // namespace
}  // namespace vcam::test
