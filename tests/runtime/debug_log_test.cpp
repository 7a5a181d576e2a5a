// The form of a log line, and which lines are printed.
#include "runtime/debug_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/support/log_level.h"

namespace {

using test_support::CapturedLog;
using test_support::LogCapture;

const std::uint32_t g_verbosity_at_load = g_embedded_cam_dbg_level;

TEST(DebugLog, VerbosityIsOneAtLoad)
{
    EXPECT_EQ(g_verbosity_at_load, 1U);
}

TEST(DebugLog, DebuggingLineIsNotPrintedAtVerbosityOne)
{
    const CapturedLog log(1);
    PrintDebug(0, 4, "StartRecording", 1903, "hidden\r\n");
    EXPECT_EQ(log.Text(), "");
}

TEST(DebugLog, FatalLineIsRedAtVerbosityOne)
{
    const CapturedLog log(1);
    PrintDebug(0, 1, "cam_create", 12, "KelLib:: cam_create() \r\n");
    EXPECT_EQ(log.Text(),
              "[TORVIK 1.26/Fatal] [cam_create:12] \033[31mKelLib:: cam_create() \r\n\033[0m\n");
}

class BareLine : public testing::TestWithParam<unsigned> {};

TEST_P(BareLine, HasNoHeaderAtThisVerbosity)
{
    const CapturedLog log(GetParam());
    PrintDebug(0, 0, "anything", 1, "bare %d", 7);
    EXPECT_EQ(log.Text(), "bare 7\n");
}

INSTANTIATE_TEST_SUITE_P(Verbosities, BareLine, testing::Range(0U, 6U));

TEST(DebugLog, PerFrameLineAtVerbosityFiveEndsInABareLineFeed)
{
    const CapturedLog log(5);
    PrintDebug(0, 5, "OnFrameArrival", 321, "OnFrameArrival, StreamType=%d\r\n", 1);
    EXPECT_EQ(log.Text(),
              "[TORVIK 1.26/Info] [OnFrameArrival:321] OnFrameArrival, StreamType=1\r\n\n");
}

TEST(DebugLog, HeaderIsCutAt1023CharactersAndTheMessageNever)
{
    const CapturedLog log(5);
    const std::string function(2000, 'f');
    const std::string message(5000, 'm');
    PrintDebug(0, 4, function.c_str(), 1, "%s", message.c_str());
    const std::string header = ("[TORVIK 1.26/Debugging] [" + function).substr(0, 1023);
    EXPECT_EQ(log.Text(), header + message + "\n");
}

TEST(DebugLog, HeaderOf1023CharactersIsNotCut)
{
    const CapturedLog log(5);
    const std::string around = "[TORVIK 1.26/Info] [:1] ";
    const std::string function(1023 - around.size(), 'f');
    PrintDebug(0, 5, function.c_str(), 1, "m");
    EXPECT_EQ(log.Text(), "[TORVIK 1.26/Info] [" + function + ":1] m\n");
}

TEST(DebugLog, RedSuffixBelongsToTheHeaderThatIsCut)
{
    const CapturedLog log(1);
    const std::string function(2000, 'f');
    PrintDebug(0, 1, function.c_str(), 1, "m");
    EXPECT_EQ(log.Text(), ("[TORVIK 1.26/Fatal] [" + function).substr(0, 1023) + "m\033[0m\n");
}

struct LevelRow {
    unsigned level;
    const char* name;
};

class LevelName : public testing::TestWithParam<LevelRow> {};

TEST_P(LevelName, StandsInTheHeader)
{
    const CapturedLog log(5);
    PrintDebug(0, GetParam().level, "f", 3, "text");
    const std::string colour = GetParam().level == 1 ? "\033[31m" : "";
    const std::string reset = GetParam().level == 1 ? "\033[0m" : "";
    EXPECT_EQ(log.Text(), std::string("[TORVIK 1.26/") + GetParam().name + "] [f:3] " + colour +
                              "text" + reset + "\n");
}

INSTANTIATE_TEST_SUITE_P(Levels, LevelName,
                         testing::Values(LevelRow{1, "Fatal"}, LevelRow{2, "Major"},
                                         LevelRow{3, "Warning"}, LevelRow{4, "Debugging"},
                                         LevelRow{5, "Info"}),
                         [](const auto& row) { return std::string(row.param.name); });

struct ModuleRow {
    unsigned module;
    const char* name;
};

class ModuleName : public testing::TestWithParam<ModuleRow> {};

TEST_P(ModuleName, StandsInTheHeader)
{
    const CapturedLog log(5);
    PrintDebug(GetParam().module, 4, "f", 3, "text");
    EXPECT_EQ(log.Text(), std::string("[") + GetParam().name + " 1.26/Debugging] [f:3] text\n");
}

INSTANTIATE_TEST_SUITE_P(Modules, ModuleName,
                         testing::Values(ModuleRow{0, "TORVIK"}, ModuleRow{1, "V4L2"},
                                         ModuleRow{2, "KEL"}),
                         [](const auto& row) { return std::string(row.param.name); });

class Filter : public testing::TestWithParam<std::tuple<unsigned, unsigned>> {};

TEST_P(Filter, PrintsLevelsUpToTheVerbosity)
{
    const auto [level, verbosity] = GetParam();
    const CapturedLog log(verbosity);
    PrintDebug(0, level, "f", 1, "text");
    EXPECT_EQ(!log.Text().empty(), level <= verbosity);
}

INSTANTIATE_TEST_SUITE_P(Levels, Filter,
                         testing::Combine(testing::Range(1U, 6U), testing::Range(1U, 6U)));

TEST(DebugLog, LogMacroNamesTheCallingFunctionAndItsLine)
{
    const CapturedLog log(4);
    const int line = __LINE__ + 1;
    CAM_LOG(kLogDebugging, "value %d", 5);
    EXPECT_EQ(log.Text(),
              "[TORVIK 1.26/Debugging] [TestBody:" + std::to_string(line) + "] value 5\n");
}

TEST(DebugLog, LogMacroTakesAnotherFunctionsName)
{
    const CapturedLog log(4);
    CAM_LOG_AS("Run", kLogDebugging, "text");
    EXPECT_THAT(log.MessagesOf("Run"), testing::ElementsAre("text"));
}

TEST(DebugLog, LogMacroDoesNotEvaluateArgumentsOfFilteredLines)
{
    const CapturedLog log(1);
    int evaluated = 0;
    CAM_LOG(kLogDebugging, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(log.Text(), "");
}

TEST(DebugLog, EveryMessageOfConcurrentThreadsStaysWhole)
{
    const CapturedLog log(4);
    constexpr int kThreads = 4;
    constexpr int kLines = 200;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < kLines; ++i)
                PrintDebug(0, 4, "f", i, "<%d:%d>", thread, i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int thread = 0; thread < kThreads; ++thread)
        for (int i = 0; i < kLines; i += 50)
            EXPECT_EQ(log.Count("<" + std::to_string(thread) + ":" + std::to_string(i) + ">"), 1U);
}

}  // namespace
