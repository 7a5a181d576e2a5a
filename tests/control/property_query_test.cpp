// GetProperty, without the camera object.
#include "control/property_query.h"
#include "tests/control/control_fixture.h"

namespace {

using testing::ElementsAre;

class PropertyQuery : public ControlTest {
protected:
    static constexpr std::int32_t kUntouched = 0x5AFEF00D;

    bool Get(unsigned property)
    {
        m_value = {kUntouched, {1, 2}};
        const bool result =
            QueryProperty(Context(), static_cast<CAM_PROPERTY>(property), m_value);
        EXPECT_EQ(m_value.res[0], 1) << "only value is written";
        EXPECT_EQ(m_value.res[1], 2);
        return result;
    }
    bool Line(int level, const std::string& text) const
    {
        return static_cast<bool>(HasLine(m_log, level, "GetProperty", text));
    }
    void AnswerPanTilt(std::int32_t pan, std::int32_t tilt)
    {
        Bytes reply;
        for (const std::int32_t value : {pan, tilt})
            for (int i = 0; i < 4; ++i)
                reply.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(value) >> (8 * i)));
        m_camera->SetReply(0xA1, 0x81, 0x0D00, 0x0100, {reply});
    }

    CAM_PROP_VALUE m_value{};
};

TEST_F(PropertyQuery, IsAnnouncedAtTheInfoLevel)
{
    Get(0);
    EXPECT_TRUE(Line(5, "CKelVeskCamera::GetProperty prop=0x0\r\n"));
    Get(0x48);
    EXPECT_TRUE(Line(5, "CKelVeskCamera::GetProperty prop=0x48\r\n"));
}

TEST_F(PropertyQuery, StoredSettingsAnswerTheirDefaults)
{
    EXPECT_TRUE(Get(0));
    EXPECT_EQ(m_value.value, 2000000);
    EXPECT_TRUE(Get(1));
    EXPECT_EQ(m_value.value, 30);
    EXPECT_TRUE(Get(3));
    EXPECT_EQ(m_value.value, 0x01E00280);
    EXPECT_TRUE(Get(4));
    EXPECT_EQ(m_value.value, 30);
    EXPECT_TRUE(Get(5));
    EXPECT_EQ(m_value.value, 24000);
    EXPECT_TRUE(Get(63));
    EXPECT_EQ(m_value.value, 5);
    EXPECT_TRUE(Get(68));
    EXPECT_EQ(m_value.value, 0);
    EXPECT_EQ(Requests(), 0u);
}

TEST_F(PropertyQuery, UserFlagIsWidenedWithoutSign)
{
    m_settings.user_flag = 0xFE;
    EXPECT_TRUE(Get(68));
    EXPECT_EQ(m_value.value, 254);
}

class UnknownQuery : public PropertyQuery, public testing::WithParamInterface<unsigned> {};

TEST_P(UnknownQuery, FailsAndLeavesTheValue)
{
    EXPECT_FALSE(Get(GetParam()));
    EXPECT_EQ(m_value.value, kUntouched);
    char line[64];
    std::snprintf(line, sizeof line, "Not supported camera property 0x%X\r\n", GetParam());
    EXPECT_TRUE(Line(4, line));
    EXPECT_EQ(Requests(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Ids, UnknownQuery,
                         testing::Values(2u, 6u, 10u, 11u, 12u, 15u, 20u, 21u, 24u, 51u, 53u, 62u,
                                         64u, 66u, 67u, 69u, 73u, 1000u, 0xFFFFFFFFu));

TEST_F(PropertyQuery, ZoomIsTheDevicesNumber)
{
    m_camera->SetReply(0xA1, 0x81, 0x0B00, 0x0100, {{0x34, 0x12}});
    EXPECT_TRUE(Get(7));
    EXPECT_EQ(m_value.value, 0x1234);
    EXPECT_TRUE(Line(4, "Get ZOOM Step (4660)"));
}

TEST_F(PropertyQuery, PanIsCutTowardsZeroInSteps)
{
    AnswerPanTilt(-7199, 0);
    EXPECT_TRUE(Get(8));
    EXPECT_EQ(m_value.value, -1);
    EXPECT_TRUE(Line(4, "Get PAN Step (-1)"));
    AnswerPanTilt(7200, 0);
    EXPECT_TRUE(Get(8));
    EXPECT_EQ(m_value.value, 2);
}

TEST_F(PropertyQuery, TiltIsLoggedAndTheDebugLevelAnswered)
{
    AnswerPanTilt(0, -10800);
    EXPECT_TRUE(Get(9));
    EXPECT_EQ(m_value.value, 5);
    EXPECT_TRUE(Line(4, "Get TILT Step (-3)"));
}

TEST_F(PropertyQuery, PositionsAreZeroAndTrueWithoutACamera)
{
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_TRUE(Get(7));
    EXPECT_EQ(m_value.value, 0);
    EXPECT_TRUE(Get(8));
    EXPECT_EQ(m_value.value, 0);
    EXPECT_TRUE(Get(9));
    EXPECT_EQ(m_value.value, 5);
    EXPECT_TRUE(Line(4, "Get ZOOM Step (0)"));
    EXPECT_TRUE(Line(4, "Get PAN Step (0)"));
    EXPECT_TRUE(Line(4, "Get TILT Step (0)"));
    m_state = CAM_STATE_CONNECTED;
    m_with_video = false;
    EXPECT_TRUE(Get(7));
    EXPECT_EQ(m_value.value, 0);
    EXPECT_EQ(Requests(), 0u);
}

TEST_F(PropertyQuery, FailedPositionRequestReadsZero)
{
    EXPECT_TRUE(Get(7));  // no answer: it stalls
    EXPECT_EQ(m_value.value, 0);
    EXPECT_TRUE(Get(8));
    EXPECT_EQ(m_value.value, 0);
}

TEST_F(PropertyQuery, IspStatusIsBytesTwoAndThree)
{
    Answer(2, {9, 9, 0xCD, 0xAB, 9, 9, 9, 9});
    EXPECT_TRUE(Get(52));
    EXPECT_EQ(m_value.value, 0xABCD);
    EXPECT_THAT(Commands(1), ElementsAre(Frame({18}, 8)));
}

TEST_F(PropertyQuery, FailedIspTransfersAreNotExamined)
{
    Refuse(1);  // and selector 2 stalls: what was sent is what is read
    EXPECT_TRUE(Get(52));
    EXPECT_EQ(m_value.value, 0);
}

TEST_F(PropertyQuery, IspStatusFailsWithZeroWithoutACamera)
{
    m_with_video = false;
    EXPECT_FALSE(Get(52));
    EXPECT_EQ(m_value.value, 0);
}

constexpr char kNoResponse[] = "Video Auto Test failed. Device no response.\r\n";

TEST_F(PropertyQuery, SelfTestThatPassesIsOneAndLogsTheOldValue)
{
    Answer(15, Bytes(16, 0));
    EXPECT_TRUE(Get(70));
    EXPECT_EQ(m_value.value, 1);
    EXPECT_TRUE(Line(4, "Video Auto Test.(Result: " + std::to_string(kUntouched) + ")"));
    EXPECT_THAT(Commands(14), ElementsAre(Frame({18}, 16)));
    EXPECT_EQ(m_sleeps.Count(std::chrono::seconds(2)), 1u);
}

TEST_F(PropertyQuery, SelfTestThatFailsIsZeroAndTrue)
{
    Answer(15, Frame({1}, 16));
    EXPECT_TRUE(Get(70));
    EXPECT_EQ(m_value.value, 0);
    EXPECT_TRUE(Line(4, kNoResponse));
}

TEST_F(PropertyQuery, SelfTestWithoutAReplyReadsWhatWasSent)
{
    EXPECT_TRUE(Get(70));  // byte 0 is still the opcode
    EXPECT_EQ(m_value.value, 0);
}

TEST_F(PropertyQuery, RefusedSelfTestFailsAndLeavesTheValue)
{
    Refuse(14);
    EXPECT_FALSE(Get(70));
    EXPECT_EQ(m_value.value, kUntouched);
    EXPECT_TRUE(Line(4, kNoResponse));
    EXPECT_EQ(m_sleeps.All().size(), 0u);
}

TEST_F(PropertyQuery, EmptySelfTestTransferFailsToo)
{
    m_camera->SetReply(0x21, 0x01, 0x0E00, 0x0600, {{}, TransferStatus::kCompleted, 0});
    EXPECT_FALSE(Get(70));
    EXPECT_EQ(m_value.value, kUntouched);
}

TEST_F(PropertyQuery, SelfTestWithoutACameraFailsWithZero)
{
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_FALSE(Get(70));
    EXPECT_EQ(m_value.value, 0);
    EXPECT_TRUE(Line(4, kNoResponse));
}

TEST_F(PropertyQuery, VersionQueriesAreZeroWithoutALoader)
{
    EXPECT_TRUE(Get(71));
    EXPECT_EQ(m_value.value, 0);
    EXPECT_TRUE(Line(4, "Audio Auto Test(Result: 0)"));
    EXPECT_TRUE(Get(72));
    EXPECT_EQ(m_value.value, 0);
    EXPECT_TRUE(Line(4, "Camera Connection Check.(Result: 0)"));
}

}  // namespace
