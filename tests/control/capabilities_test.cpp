// What the camera says it can do.
#include "control/capabilities.h"
#include "tests/control/control_fixture.h"

namespace {

struct Row {
    unsigned capability;
    bool answer;
    bool unsupported_line;
};

class Capability : public ControlTest, public testing::WithParamInterface<Row> {};

TEST_P(Capability, IsAnsweredAsInTheTable)
{
    const Row row = GetParam();
    m_settings.offers_signal_types = false;
    const std::string number = std::to_string(static_cast<int>(row.capability));
    EXPECT_EQ(AnswerCapability(m_settings, static_cast<CAM_CAPABILITY>(row.capability)),
              row.answer);
    EXPECT_TRUE(HasLine(m_log, 5, "GetCapability",
                        "CKelVeskCamera::GetCapability " + number + "\r\n"));
    const std::string refusal = "Not supported camera capability " + number + "\n";
    EXPECT_EQ(m_log.Contains(refusal), row.unsupported_line);
    if (row.unsupported_line) {
        EXPECT_TRUE(HasLine(m_log, 1, "GetCapability", refusal));
    }
    EXPECT_EQ(m_settings.use_signal_type, 0u);
}

INSTANTIATE_TEST_SUITE_P(
    All, Capability,
    testing::Values(Row{0, false, false}, Row{1, true, false}, Row{2, false, false},
                    Row{3, true, false}, Row{4, false, true}, Row{5, false, true},
                    Row{6, false, true}, Row{7, true, false}, Row{8, true, false},
                    Row{9, false, false}, Row{10, false, true}, Row{11, true, false},
                    Row{12, false, true}, Row{0xFFFFFFFF, false, true}),
    [](const auto& row) { return "Number" + std::to_string(row.param.capability); });

class SignalTypeCapability : public ControlTest, public testing::WithParamInterface<bool> {};

TEST_P(SignalTypeCapability, SwitchesOnlyATelevisionThatOffersIt)
{
    const bool offered = GetParam();
    m_settings.offers_signal_types = offered;
    EXPECT_EQ(AnswerCapability(m_settings, CAM_CAPABILITY_SIGNAL_TYPE), offered);
    EXPECT_EQ(m_settings.use_signal_type, offered ? 1u : 0u);
    EXPECT_EQ(m_log.Contains("Enable CAM_SIGNAL_TYPE mode \r\n"), offered);
    if (offered) {
        EXPECT_TRUE(HasLine(m_log, 4, "GetCapability", "Enable CAM_SIGNAL_TYPE mode \r\n"));
    }
}

INSTANTIATE_TEST_SUITE_P(Televisions, SignalTypeCapability, testing::Bool());

TEST_F(ControlTest, OtherPlatformsKeepTheSignalTypeConfigurationTheyHave)
{
    m_settings.offers_signal_types = false;
    m_settings.use_signal_type = 1;
    EXPECT_FALSE(AnswerCapability(m_settings, CAM_CAPABILITY_SIGNAL_TYPE));
    EXPECT_EQ(m_settings.use_signal_type, 1u);
}

}  // namespace
