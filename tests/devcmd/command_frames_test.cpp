// Commands that are one frame each.
#include "tests/devcmd/controller_fixture.h"

namespace {

using CommandFrame = ControllerTest;

TEST_F(CommandFrame, BitrateIsLittleEndianBehindFf)
{
    EXPECT_EQ(SetH264Bitrate(m_device, 0x1234), 0);
    EXPECT_THAT(Requests(), ElementsAre(XuSet(1, {8, 0xFF, 0x34, 0x12, 0, 0, 0, 0}, 500)));
}

TEST_F(CommandFrame, BitrateReturnsTheTransfersError)
{
    FailTransfer(1, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(SetH264Bitrate(m_device, 1), LIBUSB_ERROR_PIPE);
}

TEST_F(CommandFrame, SensorReadSendsTheAddressAndReadsTheValueFromTheResult)
{
    AnswerXu(2, {0, 0, 0xCD, 0xAB, 0, 0, 0, 0});
    unsigned short value = 0;
    EXPECT_EQ(ReadSensorReg(m_device, 0x3012, &value), 0);
    EXPECT_EQ(value, 0xABCD);
    EXPECT_THAT(Requests(),
                ElementsAre(XuSet(1, {10, 2, 0x12, 0x30, 0, 0, 0, 0}, 500), XuGet(2, 8, 500)));
}

TEST_F(CommandFrame, SensorReadWhoseResultReadFailsYieldsTheAddress)
{
    FailTransfer(2, LIBUSB_ERROR_TIMEOUT);
    unsigned short value = 0;
    EXPECT_EQ(ReadSensorReg(m_device, 0x3012, &value), 0);
    EXPECT_EQ(value, 0x3012);
    EXPECT_THAT(Lines(), ElementsAre(Line{1, "KelIspCmdGetResult",
                                          "KelIspCmdGet failed : 0xFFFFFFF9"}));
}

TEST_F(CommandFrame, SensorReadWhoseCommandFailsReturnsTheErrorAndReadsNothing)
{
    FailTransfer(1, LIBUSB_ERROR_IO);
    unsigned short value = 77;
    EXPECT_EQ(ReadSensorReg(m_device, 0x3012, &value), LIBUSB_ERROR_IO);
    EXPECT_EQ(value, 77);
    EXPECT_EQ(Requests().size(), 1U);
}

TEST_F(CommandFrame, SensorReadIgnoresTheStatusOfTheResult)
{
    AnswerXu(2, {1, 0, 0x22, 0x11, 0, 0, 0, 0});
    unsigned short value = 0;
    EXPECT_EQ(ReadSensorReg(m_device, 0, &value), 0);
    EXPECT_EQ(value, 0x1122);
}

TEST_F(CommandFrame, SensorWriteSendsAddressAndValueAndReadsNothing)
{
    EXPECT_EQ(WriteSensorReg(m_device, 0x3012, 0xABCD), 0);
    EXPECT_THAT(Requests(), ElementsAre(XuSet(1, {10, 3, 0x12, 0x30, 0xCD, 0xAB, 0, 0}, 500)));
}

TEST_F(CommandFrame, SensorWriteReturnsTheTransfersError)
{
    FailTransfer(1, LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(WriteSensorReg(m_device, 1, 2), LIBUSB_ERROR_NO_DEVICE);
}

TEST_F(CommandFrame, PreviewParametersAreLittleEndianInTheirOrder)
{
    EXPECT_EQ(Set_KVR_TV_PreviewParam(m_device, 0x11, 0x12, 0x2221, 0x3231, 0x4241, 0x5251,
                                      0x6261, 0x7271),
              0);
    EXPECT_THAT(Requests(),
                ElementsAre(XuSet(14,
                                  {1, 0x11, 0x12, 0x21, 0x22, 0x31, 0x32, 0x41, 0x42, 0x51,
                                   0x52, 0x61, 0x62, 0x71, 0x72, 0},
                                  1000)));
}

TEST_F(CommandFrame, PreviewParametersReturnZeroWhenTheTransferFails)
{
    FailTransfer(1, LIBUSB_ERROR_IO);
    EXPECT_EQ(Set_KVR_TV_PreviewParam(m_device, 1, 2, 3, 4, 5, 6, 7, 8), 0);
    EXPECT_THAT(Lines(), IsEmpty());
}

}  // namespace
