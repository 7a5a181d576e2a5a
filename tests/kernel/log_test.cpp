// The driver says the same on the guest's bus as on the simulated one.
#include <gtest/gtest.h>

#include "tests/host/run_camhost.h"
#include "tests/kernel/camera_client.h"
#include "tests/kernel/driver_log.h"
#include "tests/kernel/kernel_fixture.h"

namespace kernel_test
{
namespace
{

/// One start, two seconds, one stop.
DriverLog Record(const std::string& name, std::vector<std::string> bus)
{
    const std::string path = "/results/log-" + name + ".txt";
    DriverLog log;
    // Seldom do the lines of two threads run into each other; then once more.
    for (int attempt = 0; attempt < 4 && (attempt == 0 || log.torn); ++attempt) {
        const host_test::TempFolder folder;
        std::vector<std::string> arguments{"record", "--seconds",   "2",
                                           "--out",  folder.Path(), "--platform",
                                           "calder", "--no-still",  "--driver-log",
                                           path,     "--log-level", "4"};
        arguments.insert(arguments.end(), bus.begin(), bus.end());
        const host_test::Result result = host_test::RunCamhost(arguments, {"VCAM_MEDIA=/media"});
        EXPECT_EQ(result.code, 0) << result.out << result.err;
        log = ReadDriverLog(path);
    }
    EXPECT_FALSE(log.torn) << path;
    return log;
}

TEST(DriverLog, OfARecordingIsThatOfTheSimulatedBus)
{
    CameraClient camera;
    ASSERT_TRUE(camera.Plug());
    const DriverLog real = Record("real", {});
    const DriverLog simulated =
        Record("simulated", {"--virtual", "--stand-in", "/standin/libusb-1.0.so.0"});
    std::size_t lines = 0;
    for (const auto& [thread, said] : simulated.lines) {
        lines += said.size();
        const auto found = real.lines.find(thread);
        const std::vector<std::string> real_said =
            found == real.lines.end() ? std::vector<std::string>() : found->second;
        EXPECT_EQ(Differences(said, real_said), "")
            << thread << ": '-' only on the simulated bus, '+' only on the real one";
    }
    EXPECT_EQ(real.lines.size(), simulated.lines.size());
    EXPECT_GT(lines, 100u);
    Shows("%zu lines of %zu threads compared", lines, simulated.lines.size());
}

}  // namespace
}  // namespace kernel_test
