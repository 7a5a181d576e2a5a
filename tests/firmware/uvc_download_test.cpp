// The download through the extension unit.
#include "tests/firmware/download_fixture.h"

namespace {

constexpr char kName[] = "UpdateFirmwareUvcPath";
const Request kInit = XuSet(4, {1, 0, 3, 0, 0, 0, 0, 0}, 1000);
const Request kBurn = XuSet(4, {1, 1, 3, 0, 0, 0, 0, 0}, 1000);

class Uvc : public DownloadTest {
protected:
    int Download() { return UpdateFirmwareUvcPath(m_device, m_path, 4); }
};

TEST_F(Uvc, ImageOf1000BytesGoesAs32BlocksTheLast8BytesBeingZero)
{
    const Bytes image = Pattern(1000);
    WriteImage(image);
    EXPECT_EQ(Download(), 0);
    std::vector<Request> expected{kInit};
    Bytes padded = image;
    padded.resize(1024, 0);
    for (std::size_t i = 0; i < 32; ++i) {
        const auto start = padded.begin() + static_cast<std::ptrdiff_t>(i * 32);
        expected.push_back(XuSet(3, Bytes(start, start + 32), 1000));
    }
    expected.push_back(kBurn);
    EXPECT_EQ(Requests(), expected);
    const Bytes last = Requests().at(32).sent;
    ASSERT_EQ(last.size(), 32U);
    EXPECT_THAT(Bytes(last.begin() + 8, last.end()), testing::Each(0));
}

TEST_F(Uvc, EmptyFileSendsInitNoBlockAndBurn)
{
    WriteImage({});
    EXPECT_EQ(Download(), 0);
    EXPECT_THAT(Requests(), ElementsAre(kInit, kBurn));
}

TEST_F(Uvc, ImageOfWholeBlocksHasNoPaddedBlock)
{
    WriteImage(Pattern(64));
    EXPECT_EQ(Download(), 0);
    EXPECT_EQ(Requests().size(), 4U);
}

TEST_F(Uvc, LogsItsSteps)
{
    WriteImage(Pattern(32));
    Download();
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kName, "binary size=32 bytes\r\n"},
                                     Line{4, kName, "UVC path fw update init.\r\n"},
                                     Line{4, kName, "UVC path fw data transfer.\r\n"},
                                     Line{4, kName, "Start burning.\r\n"},
                                     Line{1, kName, "Update flash successfully.\r\n"}));
}

TEST_F(Uvc, FailedInitFailsWithoutAFurtherMessage)
{
    WriteImage(Pattern(32));
    FailTransfer(1, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kName, "binary size=32 bytes\r\n"},
                                     Line{4, kName, "UVC path fw update init.\r\n"},
                                     Line{1, "KelXU_XuCmd", "KelXUCmd failed : 0xFFFFFFF7"}));
    EXPECT_EQ(Requests().size(), 1U);
}

TEST_F(Uvc, FirstFailedBlockFailsTheDownload)
{
    WriteImage(Pattern(100));
    FailTransfer(3, LIBUSB_ERROR_TIMEOUT);
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kName, "binary size=100 bytes\r\n"},
                                     Line{4, kName, "UVC path fw update init.\r\n"},
                                     Line{4, kName, "UVC path fw data transfer.\r\n"},
                                     Line{1, "KelXU_XuCmd", "KelXUCmd failed : 0xFFFFFFF9"}));
    EXPECT_EQ(Requests().size(), 3U);
}

TEST_F(Uvc, ResultOfTheBurnIsNotExamined)
{
    WriteImage({});
    FailTransfer(2, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(Download(), 0);
    EXPECT_EQ(Lines().back(), (Line{1, kName, "Update flash successfully.\r\n"}));
}

TEST_F(Uvc, BufferIsFreedBeforeTheBurnCommand)
{
    WriteImage({});
    std::vector<int> live;
    m_bus.OnCall("libusb_control_transfer", vcam::standin::When::kBefore,
                 [&](const Call&) { live.push_back(array_allocation::Live() - m_live_arrays); });
    Download();
    EXPECT_THAT(live, ElementsAre(1, 0));
}

TEST_F(Uvc, ThirdArgumentIsNotUsed)
{
    WriteImage({});
    EXPECT_EQ(UpdateFirmwareUvcPath(m_device, m_path, 1), 0);
    EXPECT_THAT(Requests(), ElementsAre(kInit, kBurn));
}

}  // namespace
