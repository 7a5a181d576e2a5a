// Pan, tilt, focus and zoom.
#include "tests/devcmd/array_allocation.h"
#include "tests/devcmd/controller_fixture.h"

namespace {

constexpr unsigned kPan = 0x9A0908;
constexpr unsigned kTilt = 0x9A0909;
constexpr unsigned kFocus = 0x9A090A;
constexpr unsigned kUnknown = 0x9A090B;
constexpr unsigned kZoom = 0x9A090D;

using Ptz = ControllerTest;

struct ReadRow {
    const char* name;
    unsigned control;
    unsigned selector;
    Bytes reply;
    int value;
};

const ReadRow kReads[] = {
    {"Pan", kPan, 0x0D, {0x78, 0x56, 0x34, 0x12, 1, 2, 3, 4}, 0x12345678},
    {"NegativePan", kPan, 0x0D, {0xFE, 0xFF, 0xFF, 0xFF, 1, 2, 3, 4}, -2},
    {"Tilt", kTilt, 0x0D, {1, 2, 3, 4, 0x78, 0x56, 0x34, 0x12}, 0x12345678},
    {"NegativeTilt", kTilt, 0x0D, {1, 2, 3, 4, 0xFF, 0xFF, 0xFF, 0xFF}, -1},
    {"Focus", kFocus, 0x06, {0x34, 0x12}, 0x1234},
    {"FocusIsUnsigned", kFocus, 0x06, {0xFF, 0xFF}, 0xFFFF},
    {"Zoom", kZoom, 0x0B, {0x34, 0x12}, 0x1234},
    {"ZoomIsUnsigned", kZoom, 0x0B, {0x00, 0x80}, 0x8000},
};

class PtzRead : public ControllerTest, public testing::WithParamInterface<ReadRow> {};

TEST_P(PtzRead, DecodesTheReply)
{
    const ReadRow& row = GetParam();
    AnswerTerminal(row.selector, row.reply);
    int value = 0;
    EXPECT_EQ(GetPTZ_Pos(m_device, row.control, &value), 0);
    EXPECT_EQ(value, row.value);
    const auto length = static_cast<unsigned>(row.reply.size());
    EXPECT_THAT(Requests(), ElementsAre(Request{0xA0, 0x81, row.selector << 8, 0x0100, length,
                                                500}));
}

TEST_P(PtzRead, YieldsZeroWhenTheTransferFails)
{
    FailTransfer(1, LIBUSB_ERROR_PIPE);
    int value = 77;
    EXPECT_EQ(GetPTZ_Pos(m_device, GetParam().control, &value), 0);
    EXPECT_EQ(value, 0);
    EXPECT_THAT(Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Controls, PtzRead, testing::ValuesIn(kReads),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Ptz, ReadOf9A090BReturnsMinusOneAndSendsNothing)
{
    int value = 77;
    EXPECT_EQ(GetPTZ_Pos(m_device, kUnknown, &value), -1);
    EXPECT_EQ(value, 77);
    EXPECT_THAT(Requests(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Ptz, SetOf9A090BReturns80000003AndSendsNothing)
{
    EXPECT_EQ(SetPTZ_Pos(m_device, kUnknown, 1), static_cast<int>(0x80000003));
    EXPECT_EQ(SetPTZ_Pos(m_device, kUnknown, 1), -2147483645);
    EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(Ptz, ReadWithoutMemoryIsLoggedAndReturnsMinusOne)
{
    array_allocation::FailNext();
    int value = 77;
    EXPECT_EQ(GetPTZ_Pos(m_device, kPan, &value), -1);
    EXPECT_EQ(value, 77);
    EXPECT_THAT(Requests(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(Line{1, "GetPTZ_Pos", "GetPTZ_Pos is failed\r\n"}));
}

TEST_F(Ptz, ReadFreesItsBuffer)
{
    const int live = array_allocation::Live();
    int value = 0;
    GetPTZ_Pos(m_device, kPan, &value);
    EXPECT_EQ(array_allocation::LastSize(), 8U);
    GetPTZ_Pos(m_device, kZoom, &value);
    EXPECT_EQ(array_allocation::LastSize(), 2U);
    EXPECT_EQ(array_allocation::Live(), live);
}

TEST_F(Ptz, SetPan100WhileTheTiltReadsMinusOneSends64000000Ffff0101)
{
    AnswerTerminal(0x0D, {5, 6, 7, 8, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(SetPTZ_Pos(m_device, kPan, 100), 0);
    EXPECT_THAT(Requests(),
                ElementsAre(TerminalGet(0x0D, 8),
                            TerminalSet(0x0D, {0x64, 0, 0, 0, 0xFF, 0xFF, 0x01, 0x01})));
}

TEST_F(Ptz, SetTiltMinus2WhileThePanReads5Sends05000000Feffffff)
{
    AnswerTerminal(0x0D, {5, 0, 0, 0, 9, 9, 9, 9});
    EXPECT_EQ(SetPTZ_Pos(m_device, kTilt, -2), 0);
    EXPECT_THAT(Requests(),
                ElementsAre(TerminalGet(0x0D, 8),
                            TerminalSet(0x0D, {5, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF})));
}

TEST_F(Ptz, SetPanKeepsASmallTilt)
{
    AnswerTerminal(0x0D, {0, 0, 0, 0, 0x34, 0x12, 0, 0});
    SetPTZ_Pos(m_device, kPan, -1);
    EXPECT_EQ(Requests().back(),
              TerminalSet(0x0D, {0xFF, 0xFF, 0xFF, 0xFF, 0x34, 0x12, 0, 0}));
}

TEST_F(Ptz, SetPanTakesTheTiltsThirdByteAsATruthValue)
{
    AnswerTerminal(0x0D, {0, 0, 0, 0, 0x34, 0x12, 0x20, 0});
    SetPTZ_Pos(m_device, kPan, 1);
    EXPECT_EQ(Requests().back(), TerminalSet(0x0D, {1, 0, 0, 0, 0x34, 0x12, 1, 0}));
}

TEST_F(Ptz, SetPanTakesTheTiltsTopByteAsTwoTruthValues)
{
    AnswerTerminal(0x0D, {0, 0, 0, 0, 0x34, 0x12, 0, 0x40});
    SetPTZ_Pos(m_device, kPan, 1);
    EXPECT_EQ(Requests().back(), TerminalSet(0x0D, {1, 0, 0, 0, 0x34, 0x12, 1, 1}));
}

TEST_F(Ptz, SetTiltKeepsAllBytesOfThePan)
{
    AnswerTerminal(0x0D, {0x78, 0x56, 0x34, 0x12, 0, 0, 0, 0});
    SetPTZ_Pos(m_device, kTilt, 0x01020304);
    EXPECT_EQ(Requests().back(), TerminalSet(0x0D, {0x78, 0x56, 0x34, 0x12, 4, 3, 2, 1}));
}

TEST_F(Ptz, SetPanStartsFromATiltOfZeroWhenTheReadFails)
{
    AnswerTerminal(0x0D, {0, 0, 0, 0, 0x34, 0x12, 0, 0});
    FailTransfer(1, LIBUSB_ERROR_TIMEOUT);
    EXPECT_EQ(SetPTZ_Pos(m_device, kPan, 100), 0);
    EXPECT_EQ(Requests().back(), TerminalSet(0x0D, {0x64, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(Ptz, SetTiltStartsFromAPanOfZeroWhenTheReadHasNoMemory)
{
    AnswerTerminal(0x0D, {0x78, 0x56, 0x34, 0x12, 0, 0, 0, 0});
    array_allocation::FailNext();
    EXPECT_EQ(SetPTZ_Pos(m_device, kTilt, 3), 0);
    EXPECT_THAT(Requests(), ElementsAre(TerminalSet(0x0D, {0, 0, 0, 0, 3, 0, 0, 0})));
}

TEST_F(Ptz, SetZoomSendsTheLowTwoBytes)
{
    EXPECT_EQ(SetPTZ_Pos(m_device, kZoom, 0x12345678), 0);
    EXPECT_THAT(Requests(), ElementsAre(TerminalSet(0x0B, {0x78, 0x56})));
}

TEST_F(Ptz, SetFocusSendsTheLowTwoBytes)
{
    EXPECT_EQ(SetPTZ_Pos(m_device, kFocus, -2), 0);
    EXPECT_THAT(Requests(), ElementsAre(TerminalSet(0x06, {0xFE, 0xFF})));
}

class PtzSet : public ControllerTest, public testing::WithParamInterface<unsigned> {};

TEST_P(PtzSet, ReturnsZeroWhenTheTransfersFail)
{
    FailTransfer(0, LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(SetPTZ_Pos(m_device, GetParam(), 1), 0);
    EXPECT_THAT(Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Controls, PtzSet, testing::Values(kPan, kTilt, kFocus, kZoom));

}  // namespace
