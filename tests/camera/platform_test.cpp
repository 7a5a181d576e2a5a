// Which television the camera finds itself in.
#include "api/torvik_camera.h"
#include "camera/stream_combinations.h"
#include "camera/tv_platform.h"
#include "camera/tv_platforms.h"
#include "tests/camera/camera_fixture.h"

namespace {

struct Row {
    const char* name;
    std::string info;
    const char* line;
    int level;
    std::uint32_t tv_platform, use_signal_type, video_mode, signal_type;
};

class Platform : public testing::TestWithParam<Row> {
protected:
    CapturedLog m_log;
};

TEST_P(Platform, IsToldByTheInfoFile)
{
    REQUIRE_TV_ROOT();
    const Row& row = GetParam();
    TvRoot::Write("/mtd_exe/.info", row.info);
    CameraSettings settings;
    DetectTvPlatform(settings);
    EXPECT_TRUE(HasLine(m_log, row.level, "CKelVeskCamera", row.line));
    EXPECT_TRUE(HasLine(m_log, 1, "CKelVeskCamera",
                        row.use_signal_type == 1 ? "Use sinal type property\r\n"
                                                 : "Use video mode property\r\n"));
    EXPECT_EQ(m_log.Entries().size(), 2u);
    EXPECT_EQ(settings.tv_platform, row.tv_platform);
    EXPECT_EQ(settings.offers_signal_types, row.tv_platform == 5);
    EXPECT_EQ(settings.use_signal_type, row.use_signal_type);
    EXPECT_EQ(settings.video_mode, row.video_mode);
    EXPECT_EQ(settings.signal_type, row.signal_type);
}

constexpr char kUnsupported[] = "We can not support TV \r\n";

INSTANTIATE_TEST_SUITE_P(
    Info, Platform,
    testing::Values(
        Row{"Brevan", "xxxxx12", "TV platform is Brevan \r\n", 1, 5, 1, 1, 6},
        Row{"BrevanWinsOverLetters", "xxExP12", "TV platform is Brevan \r\n", 1, 5, 1, 1, 6},
        Row{"Calder", "xxxxx10", "TV platform is Calder \r\n", 1, 4, 0, 0, 7},
        Row{"CalderWinsOverLetters", "xxxxS10", "TV platform is Calder \r\n", 1, 4, 0, 0, 7},
        Row{"Dorsin", "xxExP", "TV platform is Dorsin \r\n", 4, 3, 0, 0, 7},
        Row{"FerrowA", "xxFxP", "TV platform is Ferrow_A \r\n", 1, 2, 0, 0, 7},
        Row{"FerrowB", "xxxxS", "TV platform is Ferrow_B \r\n", 1, 1, 0, 1, 8},
        Row{"FerrowBWithAnE", "xxExS", "TV platform is Ferrow_B \r\n", 1, 1, 0, 1, 8},
        Row{"OneWithOtherDigitFallsToLetters", "xxExP11", "TV platform is Dorsin \r\n", 4, 3, 0, 0,
            7},
        Row{"OneWithOtherDigitAlone", "xxxxx13", kUnsupported, 4, 0, 0, 1, 6},
        Row{"OtherLetter", "xxExQ", kUnsupported, 4, 0, 0, 1, 6},
        Row{"Empty", "", kUnsupported, 4, 0, 0, 1, 6},
        Row{"Long", "xxxxx10" + std::string(1000, 'y'), "TV platform is Calder \r\n", 1, 4, 0, 0,
            7}),
    [](const auto& row) { return std::string(row.param.name); });

class PlatformCode : public testing::TestWithParam<std::uint32_t> {};

TEST_P(PlatformCode, TellsSubStreamAndSilence)
{
    const std::uint32_t code = GetParam();
    const TvPlatform& platform = TvPlatformOf(code);
    EXPECT_EQ(platform.code, code <= 5 ? code : 0);
    EXPECT_EQ(platform.offers_signal_types, code == 5);
    EXPECT_EQ(platform.has_sub_stream, code != 1);
    if (platform.has_sub_stream) {
        EXPECT_EQ(platform.sub_frame_rate, code == 2 ? 30u : 15u);
    }
    for (const std::uint32_t bitrate : {0u, 1u, 1499999u, 1500000u, 1500001u, 0xFFFFFFFFu}) {
        const bool silent_rate = bitrate == 1500000;
        for (const std::uint32_t mode : {0u, 1u, 2u}) {
            const bool silent = (platform.*FindVideoMode(mode)->silent).Holds(bitrate);
            EXPECT_EQ(silent, mode == 0 ? code == 2 && silent_rate : code != 1 || silent_rate)
                << "mode " << mode << " at " << bitrate;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Codes, PlatformCode,
                         testing::Values(0u, 1u, 2u, 3u, 4u, 5u, 6u, 0xFFFFFFFFu));

TEST_F(CameraTest, MissingInfoFileIsAnUnsupportedTelevision)
{
    CameraSettings settings;
    DetectTvPlatform(settings);
    EXPECT_TRUE(HasLine(m_log, 1, "CKelVeskCamera", "fail to open info file\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "CKelVeskCamera", kUnsupported));
    EXPECT_EQ(settings.tv_platform, 0u);
    EXPECT_FALSE(settings.offers_signal_types);
    EXPECT_EQ(settings.video_mode, 1u);
}

TEST_F(CameraTest, OnlyPlatformBrevanOffersSignalTypes)
{
    Make(kBrevan);
    EXPECT_TRUE(m_camera->GetCapability(CAM_CAPABILITY_SIGNAL_TYPE));
    for (const char* platform : {kCalder, kDorsin, kFerrowA, kFerrowB, kOther}) {
        Make(platform);
        EXPECT_FALSE(m_camera->GetCapability(CAM_CAPABILITY_SIGNAL_TYPE)) << platform;
    }
}

}  // namespace
