#include "tests/firmware/download_fixture.h"

namespace {

using WriteProtection = ControllerTest;

const Request kFirst = XuSet(14, {7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 1000);
const Request kSecond = XuSet(14, {7, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 1000);

TEST_F(WriteProtection, IsLiftedWithTwoCommandsInOrder)
{
    EXPECT_EQ(DisableFlashWP(m_device), 0);
    EXPECT_THAT(Requests(), ElementsAre(kFirst, kSecond));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(WriteProtection, ResultsAreNotExamined)
{
    FailTransfer(0, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(DisableFlashWP(m_device), 0);
    EXPECT_THAT(Requests(), ElementsAre(kFirst, kSecond));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(WriteProtection, NullHandleReturnsZero)
{
    EXPECT_EQ(DisableFlashWP(nullptr), 0);
    EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
