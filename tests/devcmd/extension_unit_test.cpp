// Transfers on the extension unit.
#include "tests/devcmd/controller_fixture.h"

namespace {

using ExtensionUnit = ControllerTest;

TEST_F(ExtensionUnit, SetSendsTheDataWithSetCur)
{
    unsigned char data[] = {1, 2, 3, 4, 5};
    EXPECT_EQ(KelXU_XuCmd(m_device, data, 9, sizeof data, 1), 0);
    EXPECT_THAT(Requests(),
                ElementsAre(Request{0x20, 0x01, 0x0900, 0x0600, 5, 1000, {1, 2, 3, 4, 5}}));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ExtensionUnit, GetReadsTheDataWithGetCur)
{
    AnswerXu(9, {5, 6, 7});
    unsigned char data[3] = {};
    EXPECT_EQ(KelXU_XuCmd(m_device, data, 9, sizeof data, 0), 0);
    EXPECT_THAT(Requests(), ElementsAre(Request{0xA0, 0x81, 0x0900, 0x0600, 3, 1000}));
    EXPECT_THAT(data, ElementsAre(5, 6, 7));
}

TEST_F(ExtensionUnit, AnyNonZeroSetArgumentSets)
{
    unsigned char data[] = {1};
    EXPECT_EQ(KelXU_XuCmd(m_device, data, 9, 1, 0x80), 0);
    EXPECT_EQ(Requests().at(0).type, 0x20U);
}

TEST_F(ExtensionUnit, OnlyTheLowByteOfTheSelectorIsKept)
{
    unsigned char data[] = {1};
    KelXU_XuCmd(m_device, data, 0x1204, 1, 1);
    EXPECT_EQ(Requests().at(0).value, 0x0400U);
}

TEST_F(ExtensionUnit, ShortReplyCountsAsSuccess)
{
    AnswerXu(2, {0x11});
    unsigned char data[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(KelXU_XuCmd(m_device, data, 2, 8, 0), 0);
    EXPECT_THAT(data, ElementsAre(0x11, 9, 9, 9, 9, 9, 9, 9));
}

struct FailureRow {
    const char* name;
    int (*call)(_KelDevHandle*);
    const char* text;  ///< null: nothing is logged
    bool returns_error;
};

unsigned char* Buffer()
{
    static unsigned char buffer[16];
    return buffer;
}

const FailureRow kFailures[] = {
    {"KelXU_XuCmd", [](_KelDevHandle* device) { return KelXU_XuCmd(device, Buffer(), 1, 8, 1); },
     "KelXUCmd failed : 0x", true},
    {"KelIspCmdSet", [](_KelDevHandle* device) { return KelIspCmdSet(device, Buffer()); },
     "KelIspCmdSet failed : 0x", true},
    {"KelIspCmdGetResult",
     [](_KelDevHandle* device) { return KelIspCmdGetResult(device, Buffer(), 500); },
     "KelIspCmdGet failed : 0x", true},
    {"KelMMPCmdSet16", [](_KelDevHandle* device) { return KelMMPCmdSet16(device, Buffer()); },
     nullptr, false},
    {"KelMMPCmdGetResult16",
     [](_KelDevHandle* device) { return KelMMPCmdGetResult16(device, Buffer()); },
     "KelIspCmdGet failed : 0x", true},
};

struct CodeRow {
    int code;
    const char* hexadecimal;
};

constexpr CodeRow kCodes[] = {
    {LIBUSB_ERROR_IO, "FFFFFFFF"},       {LIBUSB_ERROR_NO_DEVICE, "FFFFFFFC"},
    {LIBUSB_ERROR_TIMEOUT, "FFFFFFF9"},  {LIBUSB_ERROR_OVERFLOW, "FFFFFFF8"},
    {LIBUSB_ERROR_PIPE, "FFFFFFF7"},     {LIBUSB_ERROR_OTHER, "FFFFFF9D"},
};

class TransferFailure : public ControllerTest,
                        public testing::WithParamInterface<std::tuple<FailureRow, CodeRow>> {};

TEST_P(TransferFailure, IsLoggedAndReturnedAsTheFunctionHasIt)
{
    const auto& [function, code] = GetParam();
    FailTransfer(1, code.code);
    EXPECT_EQ(function.call(m_device), function.returns_error ? code.code : 0);
    if (function.text == nullptr) {
        EXPECT_THAT(Lines(), IsEmpty());
    } else {
        EXPECT_THAT(Lines(), ElementsAre(Line{1, function.name,
                                              std::string(function.text) + code.hexadecimal}));
    }
}

INSTANTIATE_TEST_SUITE_P(All, TransferFailure,
                         testing::Combine(testing::ValuesIn(kFailures),
                                          testing::ValuesIn(kCodes)),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) + "With" +
                                    std::get<1>(row.param).hexadecimal;
                         });

TEST_F(ExtensionUnit, IspCommandIsSentToSelector1)
{
    unsigned char command[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(KelIspCmdSet(m_device, command), 0);
    EXPECT_THAT(Requests(), ElementsAre(XuSet(1, {1, 2, 3, 4, 5, 6, 7, 8}, 500)));
}

TEST_F(ExtensionUnit, IspResultIsReadFromSelector2WithTheCallersTimeOut)
{
    AnswerXu(2, {8, 7, 6, 5, 4, 3, 2, 1});
    unsigned char result[8] = {};
    EXPECT_EQ(KelIspCmdGetResult(m_device, result, 1234), 0);
    EXPECT_THAT(Requests(), ElementsAre(XuGet(2, 8, 1234)));
    EXPECT_THAT(result, ElementsAre(8, 7, 6, 5, 4, 3, 2, 1));
}

TEST_F(ExtensionUnit, MmpCommandIsSentToSelector14)
{
    unsigned char command[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    EXPECT_EQ(KelMMPCmdSet16(m_device, command), 0);
    EXPECT_THAT(Requests(),
                ElementsAre(XuSet(
                    14, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, 1000)));
}

TEST_F(ExtensionUnit, MmpResultIsReadFromSelector15)
{
    AnswerXu(15, {16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1});
    unsigned char result[16] = {};
    EXPECT_EQ(KelMMPCmdGetResult16(m_device, result), 0);
    EXPECT_THAT(Requests(), ElementsAre(XuGet(15, 16, 500)));
    EXPECT_THAT(result, ElementsAre(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1));
}

}  // namespace
