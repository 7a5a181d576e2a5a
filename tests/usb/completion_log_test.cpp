// What the log says of each way a transfer can end.
#include "usb/completion_log.h"

#include "tests/devcmd/controller_fixture.h"

namespace {

struct End {
    const char* name;
    libusb_transfer_status status;
    const char* line;  ///< null: none
    bool brings_data;
};

constexpr auto kUnknown = static_cast<libusb_transfer_status>(7);
constexpr End kEnds[] = {
    {"Completed", LIBUSB_TRANSFER_COMPLETED, nullptr, true},
    {"Error", LIBUSB_TRANSFER_ERROR, "Audio Transfer Unknown Status=1\r\n", false},
    {"TimedOut", LIBUSB_TRANSFER_TIMED_OUT, "LIBUSB_TRANSFER_TIMED_OUT! EP = 81\n", true},
    {"Cancelled", LIBUSB_TRANSFER_CANCELLED, "LIBUSB_TRANSFER_CANCELLED!\n", false},
    {"Stall", LIBUSB_TRANSFER_STALL, "Audio Transfer Unknown Status=4\r\n", false},
    {"NoDevice", LIBUSB_TRANSFER_NO_DEVICE, "LIBUSB_TRANSFER_NO_DEVICE \r\n", false},
    {"Overflow", LIBUSB_TRANSFER_OVERFLOW, "LIBUSB_TRANSFER_OVERFLOW! EP = 81\n", false},
    {"Unknown", kUnknown, "Audio Transfer Unknown Status=7\r\n", false},
};

libusb_transfer Ended(libusb_transfer_status status, unsigned char endpoint = 0x81)
{
    libusb_transfer transfer = {};
    transfer.status = status;
    transfer.endpoint = endpoint;
    return transfer;
}

class EndOfATransfer : public testing::TestWithParam<End> {
protected:
    CapturedLog m_log;
};

TEST_P(EndOfATransfer, IsALineOfTheCallback)
{
    LogCompletion(Ended(GetParam().status));
    if (GetParam().line == nullptr)
        EXPECT_EQ(m_log.Text(), "");
    else
        EXPECT_THAT(LinesOf(m_log), ElementsAre(Line{4, "callback", GetParam().line}));
}

TEST_P(EndOfATransfer, NamesTheEndpointThatItWas)
{
    LogCompletion(Ended(GetParam().status, 0x0C));
    EXPECT_EQ(m_log.Contains("! EP = c\n"), GetParam().status == LIBUSB_TRANSFER_TIMED_OUT ||
                                                GetParam().status == LIBUSB_TRANSFER_OVERFLOW);
}

TEST_P(EndOfATransfer, BringsDataOrNot)
{
    EXPECT_EQ(BringsData(Ended(GetParam().status)), GetParam().brings_data);
}

INSTANTIATE_TEST_SUITE_P(Table, EndOfATransfer, testing::ValuesIn(kEnds),
                         [](const auto& row) { return row.param.name; });

TEST(EndsOfTransfers, AreAllInTheTable)
{
    for (int status = LIBUSB_TRANSFER_COMPLETED; status <= LIBUSB_TRANSFER_OVERFLOW; ++status)
        EXPECT_EQ(kEnds[status].status, status);
}

TEST(EndsOfTransfers, AreNotLoggedBelowTheirLevel)
{
    const CapturedLog log(3);
    for (const End& end : kEnds)
        LogCompletion(Ended(end.status));
    EXPECT_EQ(log.Text(), "");
}

}  // namespace
