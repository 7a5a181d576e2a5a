#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include "tests/support/log_capture.h"

namespace {

using test_support::LogCapture;
using testing::ElementsAre;

void PrintLine(const char* level, const char* function, int line, const char* message)
{
    std::printf("[TORVIK 1.26/%s] [%s:%d] ", level, function, line);
    std::printf("%s", message);
    std::puts("");
}

TEST(LogCaptureTest, LinesBecomeEntries)
{
    LogCapture log;
    PrintLine("Debugging", "StartRecording", 1903, "first\r\n");
    std::printf("[TORVIK 1.26/Fatal] [cam_create:7] \033[31mred\r\n");
    std::puts("\033[0m");
    const auto entries = log.Entries();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].module, "TORVIK");
    EXPECT_EQ(entries[0].level, 4);
    EXPECT_EQ(entries[0].function, "StartRecording");
    EXPECT_EQ(entries[0].line, 1903);
    EXPECT_FALSE(entries[0].red);
    EXPECT_EQ(entries[0].message, "first\r\n");
    EXPECT_EQ(entries[1].level, 1);
    EXPECT_TRUE(entries[1].red);
    EXPECT_EQ(entries[1].message, "red\r\n");
}

TEST(LogCaptureTest, DestructorsAreFunctionsToo)
{
    LogCapture log;
    PrintLine("Debugging", "~CKEL_CAM_LIB", 5, "gone\r\n");
    EXPECT_THAT(log.MessagesOf("~CKEL_CAM_LIB"), ElementsAre("gone\r\n"));
}

TEST(LogCaptureTest, TextIsKeptByteForByte)
{
    LogCapture log;
    std::printf("bare");
    EXPECT_EQ(log.Text(), "bare");
    log.Clear();
    EXPECT_EQ(log.Text(), "");
    std::printf("again again");
    EXPECT_EQ(log.Count("again"), 2u);
    EXPECT_TRUE(log.Contains("again"));
}

TEST(LogCaptureTest, WaitsForALineOfAnotherThread)
{
    LogCapture log;
    std::thread writer([] { PrintLine("Info", "Run", 1, "ready\r\n"); });
    EXPECT_TRUE(log.WaitFor("ready"));
    writer.join();
    EXPECT_FALSE(log.WaitFor("ready", 2, std::chrono::milliseconds(1)));
}

TEST(LogCaptureTest, OutputGoesWhereItWentBeforeAfterwards)
{
    LogCapture outer;
    {
        LogCapture inner;
        std::printf("inner");
        EXPECT_EQ(inner.Text(), "inner");
    }
    std::printf("outer");
    EXPECT_EQ(outer.Text(), "outer");
}

}  // namespace
