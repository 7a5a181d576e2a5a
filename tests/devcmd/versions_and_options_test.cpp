// Firmware version and video options.
#include "tests/devcmd/controller_fixture.h"

namespace {

class FirmwareVersion : public ControllerTest {
protected:
    unsigned char m_version[6] = {9, 9, 9, 9, 9, 9};
};

TEST_F(FirmwareVersion, IsAskedForWithTwoTransfersOf1000Milliseconds)
{
    AnswerXu(2, {0, 0xEE, 1, 2, 3, 4, 5, 6});
    EXPECT_EQ(KelXU_GetFWVersion(m_device, m_version), 0);
    EXPECT_THAT(Requests(),
                ElementsAre(XuSet(1, {11, 0, 0, 0, 0, 0, 0, 0}, 1000), XuGet(2, 8, 1000)));
}

TEST_F(FirmwareVersion, IsBytes2To7OfTheReply)
{
    AnswerXu(2, {0, 0xEE, 1, 2, 3, 4, 5, 6});
    KelXU_GetFWVersion(m_device, m_version);
    EXPECT_THAT(m_version, ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(FirmwareVersion, ReplyWithStatus1ReturnsZeroAndLeavesTheCallersBytesUntouched)
{
    AnswerXu(2, {1, 0, 1, 2, 3, 4, 5, 6});
    EXPECT_EQ(KelXU_GetFWVersion(m_device, m_version), 0);
    EXPECT_THAT(m_version, ElementsAre(9, 9, 9, 9, 9, 9));
}

TEST_F(FirmwareVersion, FailedCommandIsReturnedAndNothingIsRead)
{
    FailTransfer(1, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(KelXU_GetFWVersion(m_device, m_version), LIBUSB_ERROR_PIPE);
    EXPECT_EQ(Requests().size(), 1U);
    EXPECT_THAT(m_version, ElementsAre(9, 9, 9, 9, 9, 9));
    EXPECT_THAT(Lines(), ElementsAre(Line{1, "KelXU_XuCmd", "KelXUCmd failed : 0xFFFFFFF7"}));
}

TEST_F(FirmwareVersion, FailedReadYieldsSixZeroBytesWithResultZero)
{
    FailTransfer(2, LIBUSB_ERROR_TIMEOUT);
    EXPECT_EQ(KelXU_GetFWVersion(m_device, m_version), 0);
    EXPECT_THAT(m_version, ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST_F(FirmwareVersion, ShortReplyIsFilledWithZeroes)
{
    AnswerXu(2, {0, 0, 7, 8});
    EXPECT_EQ(KelXU_GetFWVersion(m_device, m_version), 0);
    EXPECT_THAT(m_version, ElementsAre(7, 8, 0, 0, 0, 0));
}

using VideoOption = ControllerTest;

TEST_F(VideoOption, SetSendsThe32BitsLittleEndian)
{
    EXPECT_EQ(KelXU_SetVideoOption(m_device, 0x44332211), 0);
    EXPECT_THAT(
        Requests(),
        ElementsAre(XuSet(
            14, {2, 2, 0x11, 0x22, 0x33, 0x44, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 1000)));
}

TEST_F(VideoOption, SetReturnsTheTransfersError)
{
    FailTransfer(1, LIBUSB_ERROR_OVERFLOW);
    EXPECT_EQ(KelXU_SetVideoOption(m_device, 1), LIBUSB_ERROR_OVERFLOW);
    EXPECT_THAT(Lines(), ElementsAre(Line{1, "KelXU_XuCmd", "KelXUCmd failed : 0xFFFFFFF8"}));
}

TEST_F(VideoOption, GetSendsTheQueryAndReadsSelector15)
{
    AnswerXu(15, Bytes(16, 0));
    unsigned options = 1;
    EXPECT_EQ(KelXU_GetVideoOption(m_device, &options), 0);
    EXPECT_EQ(options, 0U);
    EXPECT_THAT(Requests(),
                ElementsAre(XuSet(14, {2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 1000),
                            XuGet(15, 16, 1000)));
}

TEST_F(VideoOption, GetOfReplyBytes1To4As01020304Yields67121155)
{
    AnswerXu(15, {0, 1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    unsigned options = 0;
    EXPECT_EQ(KelXU_GetVideoOption(m_device, &options), 0);
    EXPECT_EQ(options, 67121155U);
}

TEST_F(VideoOption, GetSumsTheLargestReplyWithoutLoss)
{
    AnswerXu(15, Bytes(16, 0xFF));
    unsigned options = 0;
    EXPECT_EQ(KelXU_GetVideoOption(m_device, &options), 0);
    EXPECT_EQ(options, 255U + 255U + 255U * 4096U + 255U * 16777216U);
}

TEST_F(VideoOption, GetWhoseQueryFailsReturnsTheError)
{
    FailTransfer(1, LIBUSB_ERROR_IO);
    unsigned options = 7;
    EXPECT_EQ(KelXU_GetVideoOption(m_device, &options), LIBUSB_ERROR_IO);
    EXPECT_EQ(options, 7U);
    EXPECT_EQ(Requests().size(), 1U);
}

TEST_F(VideoOption, GetWhoseReadFailsReturnsTheError)
{
    FailTransfer(2, LIBUSB_ERROR_TIMEOUT);
    unsigned options = 7;
    EXPECT_EQ(KelXU_GetVideoOption(m_device, &options), LIBUSB_ERROR_TIMEOUT);
    EXPECT_EQ(options, 7U);
}

TEST_F(VideoOption, GetDecodesAShortReplyOverTheQueryItSent)
{
    AnswerXu(15, {0});
    unsigned options = 0;
    EXPECT_EQ(KelXU_GetVideoOption(m_device, &options), 0);
    EXPECT_EQ(options, 1U);  // byte 1 of the query
}

}  // namespace
