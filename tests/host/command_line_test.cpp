// What camhost says and with which code it ends when something is wrong before
// any camera is touched.
#include <gtest/gtest.h>

#include "tests/host/run_camhost.h"

namespace host_test {
namespace {

struct Wrong {
    std::vector<std::string> arguments;
    int code;
    std::string message;
};

void PrintTo(const Wrong& wrong, std::ostream* out)
{
    *out << wrong.message;
}

class WrongCommandLine : public testing::TestWithParam<Wrong> {};

TEST_P(WrongCommandLine, EndsWithItsCodeAndOneClearLine)
{
    const Wrong& wrong = GetParam();
    const Result result = RunCamhost(wrong.arguments);
    EXPECT_EQ(result.code, wrong.code);
    EXPECT_EQ(Lines(result.err), 1u) << result.err;
    EXPECT_NE(result.err.find(wrong.message), std::string::npos) << result.err;
    EXPECT_EQ(result.err.rfind("camhost: ", 0), 0u) << result.err;
}

INSTANTIATE_TEST_SUITE_P(
    All, WrongCommandLine,
    testing::Values(
        Wrong{{}, 2, "subcommand is required"}, Wrong{{"dance"}, 2, "unknown command 'dance'"},
        Wrong{{"record"}, 2, "--out is required"},
        Wrong{{"record", "--out", "x", "--platform", "zenith"}, 2, "unknown platform 'zenith'"},
        Wrong{{"record", "--out", "x", "--signal-type", "FOO"}, 2, "unknown signal type 'FOO'"},
        Wrong{{"record", "--out", "x", "--size", "12"}, 2, "bad resolution '12'"},
        Wrong{{"record", "--out", "x", "--seconds", "0"}, 2, "bad --seconds"},
        Wrong{{"record", "--out", "x", "--seconds", "soon"}, 2, "soon"},
        Wrong{{"record", "--out", "/proc/none"}, 1, "cannot make the folder /proc/none"},
        Wrong{{"get", "colour"}, 2, "unknown property 'colour'"},
        Wrong{{"get", "force-i"}, 2, "force-i can only be set"},
        Wrong{{"set", "isp-status", "1"}, 2, "isp-status can only be read"},
        Wrong{{"set", "bitrate"}, 2, "bitrate needs a value"},
        Wrong{{"set", "bitrate", "9999999"}, 2, "expected a number from 0 to 2560000"},
        Wrong{{"set", "mic-volume", "101"}, 2, "expected a number from 0 to 100"},
        Wrong{{"set", "frequency", "55Hz"}, 2, "expected 50Hz or 60Hz"},
        Wrong{{"xu", "6"}, 2, "expected UNIT:SELECTOR"}, Wrong{{"xu", "7:1"}, 2, "expected 6"},
        Wrong{{"xu", "6:1", "0g"}, 2, "expected pairs of hex digits"},
        Wrong{{"ptz", "--pan", "far"}, 2, "bad pan 'far'"},
        Wrong{{"firmware", "update", "/no/image"}, 2, "no such image file: /no/image"},
        Wrong{{"firmware", "inspect", "/dev/null"}, 2, "/dev/null is no regular file"},
        Wrong{{"firmware", "update", "/no/image", "--method", "mail"}, 2, "unknown method 'mail'"},
        Wrong{{"names", "fish"}, 2, "no names of kind 'fish'"},
        Wrong{{"info", "--log-level", "6"}, 2, "--log-level"},
        Wrong{{"info", "--library", "/no/library.so"}, 3, "cannot load the camera library"},
        Wrong{{"info", "--library", "libm.so.6"}, 3, "is no camera library"},
        Wrong{{"info", "--virtual", "--stand-in", "/no/usb"}, 3, "cannot load the virtual camera"},
        Wrong{{"info", "--virtual", "--virtual-script", "/no/script"}, 2, "no such script"}));

TEST(CommandLine, HelpEndsWellAndNamesEveryCommand)
{
    const Result result = RunCamhost({"--help"});
    EXPECT_EQ(result.code, 0);
    for (const char* command : {"info", "record", "get", "set", "capabilities", "properties",
                                "still", "ptz", "self-test", "firmware", "xu", "watch"}) {
        const std::string row = std::string("\n  ") + command + " ";
        EXPECT_NE(result.out.find(row), std::string::npos) << command;
    }
}

TEST(CommandLine, NamesForCompletionAreThoseOfTheTables)
{
    EXPECT_EQ(RunCamhost({"names", "platforms"}).out,
              "brevan\ncalder\ndorsin\nferrow_a\nferrow_b\n");
    EXPECT_EQ(Lines(RunCamhost({"names", "signals"}).out), 9u);
    EXPECT_EQ(RunCamhost({"names", "readable"}).out.find("force-i"), std::string::npos);
    EXPECT_EQ(RunCamhost({"names", "settable"}).out.find("isp-status"), std::string::npos);
}

}  // namespace
}  // namespace host_test
