#include <cstring>

#include "tests/devcmd/controller_fixture.h"

namespace {

class FaceDetection : public ControllerTest {
protected:
    void AnswerPositions(Bytes reply)
    {
        m_controller->SetReply(0xC0, 1, 0, 0, {std::move(reply)});
    }

    /// A reply of 81 bytes with this count; byte n of the faces holds n.
    static Bytes Reply(std::uint8_t count)
    {
        Bytes reply{count};
        for (std::uint8_t i = 1; i <= 80; ++i)
            reply.push_back(i);
        return reply;
    }
};

TEST_F(FaceDetection, ParametersAreSentAsTheyAreInAVendorRequest)
{
    _FACE_CMD command;
    Bytes sent;
    for (unsigned char i = 0; i < 32; ++i) {
        command.bytes[i] = static_cast<unsigned char>(i * 7);
        sent.push_back(command.bytes[i]);
    }
    EXPECT_EQ(SetFD_Param(m_device, &command), 0);
    EXPECT_THAT(Requests(), ElementsAre(Request{0x40, 2, 0, 0, 32, 500, sent}));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FaceDetection, FailedParametersAreLoggedAndReturn80000003)
{
    FailTransfer(1, LIBUSB_ERROR_PIPE);
    _FACE_CMD command = {};
    EXPECT_EQ(SetFD_Param(m_device, &command), static_cast<int>(0x80000003));
    EXPECT_THAT(Lines(), ElementsAre(Line{1, "SetFD_Param",
                                          "Failed to set FD parameter 0xFFFFFFF7"}));
}

TEST_F(FaceDetection, PositionsAreReadWithAVendorRequestOf81Bytes)
{
    AnswerPositions(Reply(0));
    _FacePositionList list;
    EXPECT_EQ(GetFD_Position(m_device, &list), 0);
    EXPECT_THAT(Requests(), ElementsAre(Request{0xC0, 1, 0, 0, 81, 500}));
}

TEST_F(FaceDetection, PositionsAreConvertedFromLittleEndian)
{
    AnswerPositions(Reply(2));
    _FacePositionList list;
    std::memset(&list, 0xEE, sizeof list);
    EXPECT_EQ(GetFD_Position(m_device, &list), 0);
    EXPECT_EQ(list.count, 2);
    EXPECT_EQ(list.reserved, 0);
    EXPECT_THAT(list.face[0], ElementsAre(0x0201, 0x0403, 0x0605, 0x0807));
    EXPECT_THAT(list.face[1], ElementsAre(0x0A09, 0x0C0B, 0x0E0D, 0x100F));
}

TEST_F(FaceDetection, FacesBeyondTheCountAreLeftAlone)
{
    AnswerPositions(Reply(1));
    _FacePositionList list;
    std::memset(&list, 0xEE, sizeof list);
    GetFD_Position(m_device, &list);
    EXPECT_THAT(list.face[1], ElementsAre(0xEEEE, 0xEEEE, 0xEEEE, 0xEEEE));
}

TEST_F(FaceDetection, TenFacesFillTheList)
{
    AnswerPositions(Reply(10));
    _FacePositionList list;
    std::memset(&list, 0, sizeof list);
    EXPECT_EQ(GetFD_Position(m_device, &list), 0);
    EXPECT_THAT(list.face[9], ElementsAre(0x4A49, 0x4C4B, 0x4E4D, 0x504F));
}

TEST_F(FaceDetection, CountAboveTenIsCopiedAndNothingPastTheListIsTouched)
{
    AnswerPositions(Reply(255));
    struct {
        _FacePositionList list;
        unsigned char behind[16];
    } memory;
    std::memset(&memory, 0xEE, sizeof memory);
    EXPECT_EQ(GetFD_Position(m_device, &memory.list), 0);
    EXPECT_EQ(memory.list.count, 255);
    EXPECT_THAT(memory.list.face[9], ElementsAre(0x4A49, 0x4C4B, 0x4E4D, 0x504F));
    EXPECT_THAT(memory.behind, testing::Each(0xEE));
}

TEST_F(FaceDetection, ShortReplyIsFilledWithZeroes)
{
    AnswerPositions({1, 0x11});
    _FacePositionList list;
    EXPECT_EQ(GetFD_Position(m_device, &list), 0);
    EXPECT_THAT(list.face[0], ElementsAre(0x0011, 0, 0, 0));
}

TEST_F(FaceDetection, FailedReadIsLoggedReturns80000003AndStillFillsTheList)
{
    FailTransfer(1, LIBUSB_ERROR_IO);
    _FacePositionList list;
    std::memset(&list, 0xEE, sizeof list);
    EXPECT_EQ(GetFD_Position(m_device, &list), static_cast<int>(0x80000003));
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(list.reserved, 0);
    EXPECT_THAT(Lines(), ElementsAre(Line{1, "GetFD_Position",
                                          "Failed to get fd pos array: 0xFFFFFFFF"}));
}

}  // namespace
