// The optional log file and the fatal hook.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "runtime/debug_log.h"
#include "tests/runtime/system_calls.h"
#include "tests/support/log_level.h"
#include "tests/support/tv_root.h"

// The hook itself; the program's other calls go to the recorder.
extern "C" void __real__Z7__FATALPKcz(const char* format, ...);

namespace {

using test_support::CapturedLog;
using test_support::TvRoot;

constexpr char kPath[] = "/dtv/driver.log";
constexpr char kOtherPath[] = "/dtv/other.log";

class LogFile : public testing::Test {
protected:
    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
        PrintDebuggingClose();
        system_calls::Reset();
    }
    void TearDown() override { PrintDebuggingClose(); }
};

TEST_F(LogFile, InitWithNullAndNoFileOpenReturnsNullAndOpensNothing)
{
    EXPECT_EQ(PrintDebuggingInit(nullptr), nullptr);
    EXPECT_EQ(gDbgLog, nullptr);
    EXPECT_EQ(system_calls::ClosedStreams(), 0);
}

TEST_F(LogFile, InitOpensAndReturnsTheStream)
{
    std::FILE* const file = PrintDebuggingInit(kPath);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(gDbgLog, file);
    EXPECT_TRUE(TvRoot::Exists(kPath));
}

TEST_F(LogFile, InitEmptiesTheFileAndAllowsReading)
{
    TvRoot::Write(kPath, "old contents");
    std::FILE* const file = PrintDebuggingInit(kPath);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(TvRoot::Read(kPath), "");
    EXPECT_GE(std::fputs("x", file), 0);
    std::rewind(file);
    EXPECT_EQ(std::fgetc(file), 'x');
}

TEST_F(LogFile, InitOfAPathThatCannotBeOpenedReturnsNull)
{
    EXPECT_EQ(PrintDebuggingInit("/dtv/missing/driver.log"), nullptr);
    EXPECT_EQ(gDbgLog, nullptr);
}

TEST_F(LogFile, InitClosesTheFileOpenedBefore)
{
    ASSERT_NE(PrintDebuggingInit(kPath), nullptr);
    ASSERT_NE(PrintDebuggingInit(kOtherPath), nullptr);
    EXPECT_EQ(system_calls::ClosedStreams(), 1);
    EXPECT_TRUE(TvRoot::Exists(kOtherPath));
}

TEST_F(LogFile, InitWithNullClosesTheFileAndReturnsTheOldValue)
{
    std::FILE* const file = PrintDebuggingInit(kPath);
    EXPECT_EQ(PrintDebuggingInit(nullptr), file);
    EXPECT_EQ(gDbgLog, file);
    EXPECT_EQ(system_calls::ClosedStreams(), 1);
}

TEST_F(LogFile, CloseAfterInitWithNullDoesNotCloseTheStreamAgain)
{
    PrintDebuggingInit(kPath);
    PrintDebuggingInit(nullptr);
    PrintDebuggingClose();
    EXPECT_EQ(system_calls::ClosedStreams(), 1);
    EXPECT_EQ(gDbgLog, nullptr);
}

TEST_F(LogFile, InitAfterInitWithNullDoesNotCloseTheStreamAgain)
{
    PrintDebuggingInit(kPath);
    PrintDebuggingInit(nullptr);
    PrintDebuggingInit(kOtherPath);
    EXPECT_EQ(system_calls::ClosedStreams(), 1);
}

TEST_F(LogFile, CloseClosesTheFileAndForgetsIt)
{
    PrintDebuggingInit(kPath);
    PrintDebuggingClose();
    EXPECT_EQ(system_calls::ClosedStreams(), 1);
    EXPECT_EQ(gDbgLog, nullptr);
}

TEST_F(LogFile, CloseWithoutAFileDoesNothing)
{
    PrintDebuggingClose();
    EXPECT_EQ(system_calls::ClosedStreams(), 0);
    EXPECT_EQ(gDbgLog, nullptr);
}

TEST_F(LogFile, LinesGoToStandardOutputOnly)
{
    const CapturedLog log(4);
    std::FILE* const file = PrintDebuggingInit(kPath);
    ASSERT_NE(file, nullptr);
    PrintDebug(0, 1, "f", 1, "to the screen");
    std::fflush(file);
    EXPECT_TRUE(log.Contains("to the screen"));
    EXPECT_EQ(TvRoot::Read(kPath), "");
}

TEST(FatalHook, PrintsNothingAndReturns)
{
    testing::internal::CaptureStderr();
    {
        const CapturedLog log(5);
        __real__Z7__FATALPKcz("pthread_create() failed (%s)\n", "reason");
        EXPECT_EQ(log.Text(), "");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
