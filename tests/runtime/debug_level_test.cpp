// The verbosity and its marker files.
#include "camera/debug_level.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "tests/support/log_level.h"
#include "tests/support/tv_root.h"

namespace {

bool g_run_commands = true;
int g_command_result = 0;
std::vector<std::string> g_commands;

}  // namespace

extern "C" int __real__Z12ExecuteShellPKc(const char* command);
extern "C" int __wrap__Z12ExecuteShellPKc(const char* command)
{
    g_commands.emplace_back(command);
    return g_run_commands ? __real__Z12ExecuteShellPKc(command) : g_command_result;
}

namespace {

using test_support::CapturedLog;
using test_support::TvRoot;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Marker(int level)
{
    return "/mtd_rwarea/camera_l" + std::to_string(level);
}

std::vector<int> Markers()
{
    std::vector<int> levels;
    for (int level = 1; level <= 9; ++level)
        if (TvRoot::Exists(Marker(level)))
            levels.push_back(level);
    return levels;
}

class DebugLevel : public testing::Test {
protected:
    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
        g_run_commands = false;
        g_command_result = 0;
        g_commands.clear();
    }
    void TearDown() override { g_embedded_cam_dbg_level = 1; }
};

class LoadedMarker : public DebugLevel, public testing::WithParamInterface<int> {};

TEST_P(LoadedMarker, SetsItsLevel)
{
    TvRoot::Write(Marker(GetParam()), "");
    EXPECT_TRUE(LoadDebugLevel());
    EXPECT_EQ(g_embedded_cam_dbg_level, static_cast<unsigned>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Levels, LoadedMarker, testing::Range(1, 6));

TEST_F(DebugLevel, LoadWithMarkers2And4TakesTheHigher)
{
    TvRoot::Write(Marker(2), "");
    TvRoot::Write(Marker(4), "");
    LoadDebugLevel();
    EXPECT_EQ(g_embedded_cam_dbg_level, 4U);
}

TEST_F(DebugLevel, LoadWithAllMarkersTakesFive)
{
    for (int level = 1; level <= 5; ++level)
        TvRoot::Write(Marker(level), "");
    LoadDebugLevel();
    EXPECT_EQ(g_embedded_cam_dbg_level, 5U);
}

TEST_F(DebugLevel, LoadWithoutAMarkerSetsOne)
{
    g_embedded_cam_dbg_level = 5;
    EXPECT_TRUE(LoadDebugLevel());
    EXPECT_EQ(g_embedded_cam_dbg_level, 1U);
}

TEST_F(DebugLevel, LoadWithOnlyMarker1SetsOne)
{
    g_embedded_cam_dbg_level = 5;
    TvRoot::Write(Marker(1), "");
    EXPECT_TRUE(LoadDebugLevel());
    EXPECT_EQ(g_embedded_cam_dbg_level, 1U);
}

TEST_F(DebugLevel, LoadIgnoresLevelsThatDoNotExist)
{
    TvRoot::Write(Marker(6), "");
    LoadDebugLevel();
    EXPECT_EQ(g_embedded_cam_dbg_level, 1U);
}

TEST_F(DebugLevel, LoadTakesADirectoryForAMarkerToo)
{
    TvRoot::Write(Marker(3) + "/file", "");
    LoadDebugLevel();
    EXPECT_EQ(g_embedded_cam_dbg_level, 3U);
}

class RefusedLevel : public DebugLevel, public testing::WithParamInterface<int> {};

TEST_P(RefusedLevel, ChangesNothingAndReturnsFalse)
{
    TvRoot::Write(Marker(2), "");
    g_embedded_cam_dbg_level = 2;
    EXPECT_FALSE(SetDebugLevel(GetParam()));
    EXPECT_EQ(g_embedded_cam_dbg_level, 2U);
    EXPECT_THAT(Markers(), ElementsAre(2));
    EXPECT_THAT(g_commands, IsEmpty());
}

TEST_P(RefusedLevel, IsLoggedAsFatalWithoutALineEnd)
{
    const CapturedLog log(1);
    SetDebugLevel(GetParam());
    const auto entries = log.Entries();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].level, 1);
    EXPECT_EQ(entries[0].function, "SetDebugLevel");
    EXPECT_EQ(entries[0].message, "input 1~5(" + std::to_string(GetParam()) + ") level");
}

INSTANTIATE_TEST_SUITE_P(Levels, RefusedLevel, testing::Values(0, 6, -1, 255),
                         [](const auto& row) { return "At" + std::to_string(row.index); });

TEST_F(DebugLevel, Set3LeavesExactlyOneMarkerFile)
{
    g_run_commands = true;
    for (int level = 1; level <= 5; ++level)
        TvRoot::Write(Marker(level), "");
    EXPECT_TRUE(SetDebugLevel(3));
    EXPECT_THAT(Markers(), ElementsAre(3));
    EXPECT_EQ(TvRoot::Read(Marker(3)), "");
}

class AcceptedLevel : public DebugLevel, public testing::WithParamInterface<int> {};

TEST_P(AcceptedLevel, RunsTwoCommandsAndSetsTheVerbosity)
{
    EXPECT_TRUE(SetDebugLevel(GetParam()));
    EXPECT_THAT(g_commands,
                ElementsAre("rm -rf /mtd_rwarea/camera_l*",
                            "touch /mtd_rwarea/camera_l" + std::to_string(GetParam()) +
                                "; sync"));
    EXPECT_EQ(g_embedded_cam_dbg_level, static_cast<unsigned>(GetParam()));
}

TEST_P(AcceptedLevel, IsSetInMemoryAlthoughTheCommandsFail)
{
    g_command_result = -1;
    EXPECT_TRUE(SetDebugLevel(GetParam()));
    EXPECT_EQ(g_embedded_cam_dbg_level, static_cast<unsigned>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Levels, AcceptedLevel, testing::Range(1, 6));

TEST_F(DebugLevel, SetLogsNothing)
{
    const CapturedLog log(5);
    SetDebugLevel(5);
    EXPECT_EQ(log.Text(), "");
}

}  // namespace
