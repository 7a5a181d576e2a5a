// The running firmware's bulk paths, with and without a checksum.
#include "tests/firmware/download_fixture.h"

namespace {

constexpr char kPlain[] = "UpdateFirmware";
constexpr char kSummed[] = "UpdateKelFirmwareWithCheckSum";

class Update : public DownloadTest {
protected:
    int Download(unsigned type = 1) { return UpdateFirmware(m_device, m_path, type); }
};

TEST_F(Update, SendsBlocksOf32768AndTheRemainder)
{
    WriteImage(Pattern(70000));
    EXPECT_EQ(Download(), 0);
    EXPECT_THAT(Blocks(), ElementsAre(Block{1, 32768, 5000}, Block{1, 32768, 5000},
                                      Block{1, 4464, 5000}));
    EXPECT_EQ(BulkData(), Pattern(70000));
}

struct BurnRow {
    unsigned type;
    unsigned request;
};

class BurnType : public Update, public testing::WithParamInterface<BurnRow> {};

TEST_P(BurnType, SelectsTheBurnRequest)
{
    WriteImage(Pattern(0x12345));
    EXPECT_EQ(Download(GetParam().type), 0);
    EXPECT_THAT(Requests(), ElementsAre(SizeRequest(0x82, 0x12345, 1000),
                                        SizeRequest(GetParam().request, 0x12345, 30000)));
}

INSTANTIATE_TEST_SUITE_P(Types, BurnType,
                         testing::Values(BurnRow{1, 0x03}, BurnRow{2, 0x06}, BurnRow{3, 0x05},
                                         BurnRow{4, 0x08}, BurnRow{0, 0x03}, BurnRow{5, 0x03},
                                         BurnRow{7, 0x03}, BurnRow{0xFFFFFFFF, 0x03}),
                         [](const auto& row) { return "Type" + std::to_string(row.param.type); });

TEST_F(Update, LogsItsSteps)
{
    WriteImage(Pattern(1000));
    Download();
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kPlain, "binary size=1000 bytes\r\n"},
                                     Line{4, kPlain, "Start burning.\r\n"},
                                     Line{1, kPlain, "Update flash successfully.\r\n"}));
}

TEST_F(Update, BlockThatTimesOutIsLoggedAndCountsAsSent)
{
    WriteImage(Pattern(70000));
    m_bus.FailCall("libusb_bulk_transfer", 2, LIBUSB_ERROR_TIMEOUT);
    EXPECT_EQ(Download(), 0);
    EXPECT_EQ(BulkData(), Pattern(70000));
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kPlain, "binary size=70000 bytes\r\n"},
                                     Line{4, kPlain, "PCSYNC_BULK_OUT_EP(1) timeout.\r\n"},
                                     Line{4, kPlain, "Start burning.\r\n"},
                                     Line{1, kPlain, "Update flash successfully.\r\n"}));
}

class UpdateBlockFailure : public Update, public testing::WithParamInterface<int> {};

TEST_P(UpdateBlockFailure, IsLoggedAndFailsTheDownloadWithoutBurning)
{
    WriteImage(Pattern(70000));
    m_bus.FailCall("libusb_bulk_transfer", 2, GetParam());
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_EQ(Blocks().size(), 2U);
    EXPECT_EQ(Requests().size(), 1U);
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kPlain, "binary size=70000 bytes\r\n"},
                                     Line{4, kPlain, "PCSYNC_BULK_OUT_EP(1) Error.\r\n"}));
}

INSTANTIATE_TEST_SUITE_P(Codes, UpdateBlockFailure,
                         testing::Values(LIBUSB_ERROR_PIPE, LIBUSB_ERROR_NO_DEVICE,
                                         LIBUSB_ERROR_IO, LIBUSB_ERROR_OVERFLOW));

TEST_F(Update, FailedAnnouncementIsNotExamined)
{
    WriteImage(Pattern(10));
    FailTransfer(1, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(Download(), 0);
}

class UpdateBurnFailure : public Update, public testing::WithParamInterface<int> {};

TEST_P(UpdateBurnFailure, FailsTheDownload)
{
    WriteImage(Pattern(10));
    FailTransfer(2, GetParam());
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_EQ(Lines().back(), (Line{1, kPlain, "Update flash failed.\r\n"}));
}

INSTANTIATE_TEST_SUITE_P(Codes, UpdateBurnFailure,
                         testing::Values(LIBUSB_ERROR_NO_DEVICE, LIBUSB_ERROR_TIMEOUT,
                                         LIBUSB_ERROR_PIPE));

TEST_F(Update, BurnResultAboveZeroCountsAsSuccess)
{
    WriteImage(Pattern(10));
    FailTransfer(2, 1);
    EXPECT_EQ(Download(), 0);
}

TEST_F(Update, BufferIsFreedBeforeTheBurnRequest)
{
    WriteImage(Pattern(1000));
    int live = -1;
    WatchMemoryAtRequest(0x03, live);
    Download();
    EXPECT_EQ(live, 0);
}

TEST_F(Update, ImageOfExactly64MebibytesIsSentWhole)
{
    WriteHugeImage(64L << 20);
    m_bus.DisableCallLog();
    std::size_t blocks = 0;
    m_bus.FailCall("libusb_bulk_transfer", 0, 0, [&blocks](const Call& call) {
        blocks += call.length == 32768;
        return true;
    });
    EXPECT_EQ(Download(), 0);
    EXPECT_EQ(blocks, 2048U);
    const auto announced = m_controller->Controls(0x40, 0x82, 0, 0x0400);
    EXPECT_EQ(announced.size(), 1U);
}

class CheckSum : public DownloadTest {
protected:
    int Download(long long checksum = 0x1122334455667788)
    {
        return UpdateKelFirmwareWithCheckSum(m_device, m_path, checksum);
    }
};

TEST_F(CheckSum, SendsBlocksOf32768WithATimeOutOf1000Milliseconds)
{
    WriteImage(Pattern(40000));
    EXPECT_EQ(Download(), 0);
    EXPECT_THAT(Blocks(), ElementsAre(Block{1, 32768, 1000}, Block{1, 7232, 1000}));
    EXPECT_EQ(BulkData(), Pattern(40000));
}

TEST_F(CheckSum, RecordHasTheChecksumAndTheSizeLittleEndian)
{
    WriteImage(Pattern(0x12345));
    EXPECT_EQ(Download(), 0);
    const Bytes record{0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11, 0x45, 0x23, 0x01, 0x00};
    EXPECT_THAT(Requests(), ElementsAre(SizeRequest(0x82, 0x12345, 1000),
                                        Request{0x40, 0x07, 0, 0, 12, 30000, record},
                                        SizeRequest(0x03, 0x12345, 30000)));
}

TEST_F(CheckSum, NegativeChecksumIsSentAsItsBits)
{
    WriteImage(Pattern(1));
    Download(-2);
    EXPECT_EQ(Requests().at(1).sent,
              (Bytes{0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 1, 0, 0, 0}));
}

TEST_F(CheckSum, LogsItsSteps)
{
    WriteImage(Pattern(1000));
    Download();
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kSummed, "binary size=1000 bytes\r\n"},
                                     Line{4, kSummed, "Start burning.\r\n"},
                                     Line{1, kSummed, "Update flash successfully.\r\n"}));
}

TEST_F(CheckSum, RefusedChecksumIsLoggedWithItsOwnLineOnlyAndNothingBurnt)
{
    WriteImage(Pattern(1000));
    FailTransfer(2, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kSummed, "binary size=1000 bytes\r\n"},
                                     Line{4, kSummed, "Start burning.\r\n"},
                                     Line{1, kSummed, "Check sum does not match.\r\n"}));
    EXPECT_EQ(Requests().size(), 2U);
}

TEST_F(CheckSum, FailedBlocksAreIgnored)
{
    WriteImage(Pattern(40000));
    m_bus.FailCall("libusb_bulk_transfer", 0, LIBUSB_ERROR_IO);
    EXPECT_EQ(Download(), 0);
    EXPECT_EQ(Blocks().size(), 2U);
    EXPECT_EQ(Lines().size(), 3U);
}

TEST_F(CheckSum, FailedAnnouncementIsNotExamined)
{
    WriteImage(Pattern(10));
    FailTransfer(1, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(Download(), 0);
}

TEST_F(CheckSum, BurnAnsweredWithNoDeviceFails)
{
    WriteImage(Pattern(10));
    FailTransfer(3, LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(Download(), kUnsupported);
    EXPECT_EQ(Lines().back(), (Line{1, kSummed, "Update flash failed.\r\n"}));
}

TEST_F(CheckSum, BufferIsFreedBeforeTheChecksumRequest)
{
    WriteImage(Pattern(1000));
    int live = -1;
    WatchMemoryAtRequest(0x07, live);
    Download();
    EXPECT_EQ(live, 0);
}

}  // namespace
