// The boot loader's bulk path.
#include "tests/firmware/download_fixture.h"

namespace {

constexpr char kName[] = "UpdateFirmwarePcsyncPath";

class Pcsync : public DownloadTest {
protected:
    int Download() { return UpdateFirmwarePcsyncPath(m_device, m_path, 4); }
};

TEST_F(Pcsync, ImageOf1000BytesGoesAsTwoBlocksOf512And488)
{
    WriteImage(Pattern(1000));
    EXPECT_EQ(Download(), 0);
    EXPECT_THAT(Blocks(), ElementsAre(Block{1, 512, 100}, Block{1, 488, 100}));
    EXPECT_EQ(BulkData(), Pattern(1000));
}

TEST_F(Pcsync, ImageOfWholeBlocksHasNoShortBlock)
{
    WriteImage(Pattern(1024));
    EXPECT_EQ(Download(), 0);
    EXPECT_THAT(Blocks(), ElementsAre(Block{1, 512, 100}, Block{1, 512, 100}));
}

TEST_F(Pcsync, ImageOfOneByteIsSentWithoutPadding)
{
    WriteImage({0x5A});
    EXPECT_EQ(Download(), 0);
    EXPECT_THAT(Blocks(), ElementsAre(Block{1, 1, 100}));
}

TEST_F(Pcsync, AnnouncesSendsAndBurnsInThisOrder)
{
    WriteImage(Pattern(1000));
    Download();
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_control_transfer", "libusb_bulk_transfer",
                            "libusb_bulk_transfer", "libusb_control_transfer"));
    EXPECT_THAT(Requests(), ElementsAre(Request{0x40, 0x82, 1000, 0, 0, 1000},
                                        Request{0x40, 0x08, 1000, 0, 0, 1000}));
}

TEST_F(Pcsync, SizeAbove64KibibytesIsSplitOverValueAndIndex)
{
    WriteImage(Pattern(0x12345));
    Download();
    EXPECT_THAT(Requests(), ElementsAre(Request{0x40, 0x82, 0x2345, 1, 0, 1000},
                                        Request{0x40, 0x08, 0x2345, 1, 0, 1000}));
}

TEST_F(Pcsync, LogsItsSteps)
{
    WriteImage(Pattern(1000));
    Download();
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kName, "binary size=1000 bytes\r\n"},
                                     Line{4, kName, "Start burning.\r\n"},
                                     Line{1, kName, "Update flash successfully.\r\n"}));
}

TEST_F(Pcsync, BufferIsFreedBeforeTheBurnRequest)
{
    WriteImage(Pattern(1000));
    int live = -1;
    WatchMemoryAtRequest(0x08, live);
    Download();
    EXPECT_EQ(live, 0);
}

TEST_F(Pcsync, FailedAnnouncementIsNotExamined)
{
    WriteImage(Pattern(10));
    FailTransfer(1, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(Download(), 0);
    EXPECT_EQ(BulkData(), Pattern(10));
}

class PcsyncBlockFailure : public Pcsync, public testing::WithParamInterface<int> {};

TEST_P(PcsyncBlockFailure, IsIgnoredAndTheNextBlockSent)
{
    WriteImage(Pattern(1500));
    m_bus.FailCall("libusb_bulk_transfer", 0, GetParam());
    EXPECT_EQ(Download(), 0);
    EXPECT_THAT(Blocks(),
                ElementsAre(Block{1, 512, 100}, Block{1, 512, 100}, Block{1, 476, 100}));
    EXPECT_EQ(Lines().back(), (Line{1, kName, "Update flash successfully.\r\n"}));
    EXPECT_EQ(Lines().size(), 3U);
}

INSTANTIATE_TEST_SUITE_P(Codes, PcsyncBlockFailure,
                         testing::Values(LIBUSB_ERROR_TIMEOUT, LIBUSB_ERROR_PIPE,
                                         LIBUSB_ERROR_NO_DEVICE, LIBUSB_ERROR_IO));

TEST_F(Pcsync, BurnAnsweredWithNoDeviceCountsAsSuccess)
{
    WriteImage(Pattern(10));
    FailTransfer(2, LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(Download(), 0);
    EXPECT_EQ(Lines().back(), (Line{1, kName, "Update flash successfully.\r\n"}));
}

class PcsyncBurnFailure : public Pcsync, public testing::WithParamInterface<int> {};

TEST_P(PcsyncBurnFailure, FailsTheDownload)
{
    WriteImage(Pattern(10));
    FailTransfer(2, GetParam());
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kName, "binary size=10 bytes\r\n"},
                                     Line{4, kName, "Start burning.\r\n"},
                                     Line{1, kName, "Update flash failed.\r\n"}));
}

INSTANTIATE_TEST_SUITE_P(Codes, PcsyncBurnFailure,
                         testing::Values(LIBUSB_ERROR_TIMEOUT, LIBUSB_ERROR_PIPE, LIBUSB_ERROR_IO,
                                         LIBUSB_ERROR_OTHER, 1));

TEST_F(Pcsync, ThirdArgumentIsNotUsed)
{
    WriteImage(Pattern(10));
    EXPECT_EQ(UpdateFirmwarePcsyncPath(m_device, m_path, 0), 0);
    EXPECT_EQ(Requests().back(), (Request{0x40, 0x08, 10, 0, 0, 1000}));
}

}  // namespace
