// Recording through camhost and the library on the guest's libusb.
#include <filesystem>
#include <fstream>

#include "tests/host/run_camhost.h"
#include "tests/kernel/kernel_fixture.h"
#include "tests/kernel/received_frames.h"

namespace kernel_test
{
namespace
{

constexpr char kOut[] = "/results/recording";
constexpr char kList[] = "/tmp/frames";
constexpr char kLog[] = "/results/camhost-driver.log";

class Camhost : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_camera.Plug()); }

    /// Without a gap but for the `dropped` ones, and complete but for what was
    /// on the way at the stop.
    void ExpectAllReceived(const char* name, Stream stream, std::size_t least,
                           std::size_t dropped = 0)
    {
        SCOPED_TRACE(name);
        const auto received = ReadFrameList(kList, name);
        const Comparison comparison =
            Compare(received, stream == Stream::kPcm ? m_camera.Sound() : m_camera.Frames(stream));
        EXPECT_EQ(comparison.unsent, 0u);
        EXPECT_LE(comparison.lost, dropped);
        EXPECT_TRUE(comparison.equal || dropped > 0);
        EXPECT_GE(received.size(), least);
        Shows("%-5s %4zu frames, digest %016llx here and %016llx in the camera; %zu lost", name,
              received.size(), static_cast<unsigned long long>(comparison.digest_received),
              static_cast<unsigned long long>(comparison.digest_sent), comparison.lost);
    }

    /// Sound that the driver itself gave up because nobody took it in time,
    /// which a busy machine can bring about.
    static std::size_t DroppedSound()
    {
        std::ifstream log(kLog);
        std::size_t drops = 0;
        for (std::string line; std::getline(log, line);)
            drops += line.find("Audio frame drop.") != std::string::npos ? 1 : 0;
        return drops;
    }

    CameraClient m_camera;
};

TEST_F(Camhost, RecordsTenSecondsOfEveryStreamAsSent)
{
    std::filesystem::create_directories(kOut);
    const host_test::Result result = host_test::RunCamhost(
        {"record", "--seconds", "10", "--out", kOut, "--platform", "brevan", "--signal-type",
         "H264_H264_GRAY", "--frame-list", kList, "--driver-log", kLog, "--log-level", "4"});
    ASSERT_EQ(result.code, 0) << result.out << result.err;
    EXPECT_EQ(result.err, "");
    std::ofstream(std::string(kOut) + "/camhost.txt") << result.out;

    ExpectAllReceived("main", Stream::kMain, 100);
    ExpectAllReceived("sub", Stream::kSub, 50);
    ExpectAllReceived("gray", Stream::kGray, 50);
    ExpectAllReceived("audio", Stream::kPcm, 200, DroppedSound());
    for (const char* file : {"recording.mkv", "sub.mkv", "still.jpg", "gray.png"})
        EXPECT_GT(std::filesystem::file_size(std::string(kOut) + "/" + file), 0u) << file;
}

}  // namespace
}  // namespace kernel_test
