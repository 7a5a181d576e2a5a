// camhost with the camera library that ships and the virtual camera.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "tests/host/movie_check.h"
#include "tests/host/run_camhost.h"

namespace host_test {
namespace {

namespace fs = std::filesystem;

Result Virtual(std::vector<std::string> arguments)
{
    arguments.push_back("--virtual");
    return RunCamhost(arguments);
}

void ExpectDecodes(const std::string& path, std::size_t tracks)
{
    const MovieFacts movie = CheckMovie(path);
    ASSERT_TRUE(movie.opened) << path;
    ASSERT_EQ(movie.tracks.size(), tracks) << path;
    for (const TrackFacts& track : movie.tracks) {
        EXPECT_GT(track.frames, 0) << path;
        EXPECT_EQ(track.errors, 0) << path;
    }
}

TEST(VirtualCamera, RecordsEverythingThatDecodes)
{
    const TempFolder folder;
    const Result result = Virtual({"record", "--seconds", "4", "--out", folder.Path()});
    ASSERT_EQ(result.code, 0) << result.err;
    ExpectDecodes(folder.Path() + "/recording.mkv", 2);
    ExpectDecodes(folder.Path() + "/sub.mkv", 1);
    ExpectDecodes(folder.Path() + "/still.jpg", 1);
    ExpectDecodes(folder.Path() + "/gray.png", 1);
    EXPECT_NEAR(CheckMovie(folder.Path() + "/recording.mkv").duration, 4.0, 0.2);
}

TEST(VirtualCamera, VideoModePlatformRecordsToo)
{
    const TempFolder folder;
    const Result result = Virtual(
        {"record", "--seconds", "2", "--out", folder.Path(), "--platform", "calder", "--no-still"});
    ASSERT_EQ(result.code, 0) << result.err;
    ExpectDecodes(folder.Path() + "/recording.mkv", 2);
}

TEST(VirtualCamera, WhatArrivesDecodesThoughContainersAreLost)
{
    const TempFolder folder;
    const std::string script = folder.Path() + "/script";
    // Often enough that a busy machine's delays cannot hide it from the host, which has only
    // the times to count by.
    std::ofstream(script) << "container every 15 lose\n";
    const Result result = Virtual({"record", "--seconds", "5", "--out", folder.Path(), "--no-still",
                                   "--virtual-script", script});
    ASSERT_EQ(result.code, 0) << result.err;
    ExpectDecodes(folder.Path() + "/recording.mkv", 2);
    ExpectDecodes(folder.Path() + "/sub.mkv", 1);
    // The loss shows in the table, in the column before the file.
    const std::string out = Squeezed(result.out);
    std::smatch row;
    ASSERT_TRUE(std::regex_search(out, row, std::regex("\nmain [0-9. ]+ ([0-9]+) /"))) << out;
    EXPECT_GT(std::stoi(row[1]), 0) << out;
}

TEST(VirtualCamera, InfoShowsDriverAndFirmware)
{
    const Result result = Virtual({"info", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_NE(result.out.find("\"driver\": 138"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\"model\": \"TORVIK\""), std::string::npos) << result.out;
    EXPECT_EQ(result.out.find("\"firmware\": \"unknown\""), std::string::npos) << result.out;
}

TEST(VirtualCamera, PrivateRootReceivesTheTelevisionsFilesAndTheMachineNone)
{
    const TempFolder folder;
    const std::string root = folder.Path() + "/tv";
    const Result result =
        Virtual({"set", "debug-level", "3", "--tv-root", root, "--platform", "ferrow_a"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_TRUE(fs::exists(root + "/mtd_rwarea/camera_l3"));
    EXPECT_TRUE(fs::exists(root + "/mtd_exe/.info"));
    EXPECT_FALSE(fs::exists(root + "/dtv/cm_cam_version")) << "the driver removes it at its end";
    for (const char* path : {"/mtd_exe", "/mtd_rwarea", "/mtd_rwcommon", "/dtv"}) {
        EXPECT_FALSE(fs::exists(path)) << path;
    }
}

TEST(VirtualCamera, SelfTestPassesAndFails)
{
    const Result good = Virtual({"self-test"});
    EXPECT_EQ(good.code, 0) << good.out << good.err;
    const TempFolder folder;
    const std::string script = folder.Path() + "/script";
    std::ofstream(script) << "set self-test-passes no\n";
    const Result bad = Virtual({"self-test", "--virtual-script", script});
    EXPECT_EQ(bad.code, 1);
    EXPECT_NE(Squeezed(bad.out).find("video-auto-test failed"), std::string::npos) << bad.out;
}

TEST(VirtualCamera, PtzMovesAndAnswers)
{
    const Result result = Virtual({"ptz", "--pan", "-3", "--tilt", "2", "--zoom", "7"});
    ASSERT_EQ(result.code, 0) << result.err;
    const std::string out = Squeezed(result.out);
    EXPECT_NE(out.find("\npan -3\ntilt 2\nzoom 7\n"), std::string::npos) << out;
}

TEST(VirtualCamera, ExtensionUnitAnswersRawRequests)
{
    const Result result = Virtual({"xu", "6:1", "0b", "--then-read", "2"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out.substr(0, 2), "00") << result.out;
    EXPECT_EQ(result.out.size(), 8u * 3) << result.out;
}

TEST(VirtualCamera, UnpluggedDuringRecordingIsTold)
{
    const TempFolder folder;
    const std::string script = folder.Path() + "/script";
    std::ofstream(script) << "container at 60 unplug\n";
    const Result result = Virtual(
        {"record", "--seconds", "600", "--out", folder.Path(), "--virtual-script", script});
    EXPECT_EQ(result.code, 3) << result.out;
    EXPECT_EQ(Lines(result.err), 1u) << result.err;
    ExpectDecodes(folder.Path() + "/recording.mkv", 2);
}

TEST(VirtualCamera, WatchPicksAReturningCameraUpAgain)
{
    const TempFolder folder;
    const std::string script = folder.Path() + "/script";
    std::ofstream(script) << "time at 15000 unplug back 1000\n";
    const Result result =
        Virtual({"watch", "--events", "3", "--seconds", "120", "--virtual-script", script});
    EXPECT_EQ(result.code, 0) << result.err;
    const std::size_t ready = result.out.find("camera ready");
    const std::size_t gone = result.out.find("camera unplugged");
    const std::size_t again = result.out.find("camera plugged in again");
    ASSERT_NE(again, std::string::npos) << result.out;
    EXPECT_LT(ready, gone);
    EXPECT_LT(gone, again);
}

TEST(VirtualCamera, FirmwareUpdateReachesTheFlash)
{
    const TempFolder folder;
    const std::string script = folder.Path() + "/script";
    const std::string flash = folder.Path() + "/flash";
    const std::string image = folder.Path() + "/image";
    std::ofstream(script) << "set identity boot-loader\nset firmware-flash " << flash << "\n";
    std::string bytes;
    for (int i = 0; i < 100001; ++i) {
        bytes += static_cast<char>(i * 7 >> 3);
    }
    std::ofstream(image, std::ios::binary) << bytes;
    const Result result = Virtual({"firmware", "update", image, "--virtual-script", script});
    ASSERT_EQ(result.code, 0) << result.out << result.err;
    EXPECT_NE(result.out.find("'pcsync'"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("sent 100 %"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("burning"), std::string::npos) << result.out;
    std::ifstream burnt(flash, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(burnt), std::istreambuf_iterator<char>()),
              bytes);
}

}  // namespace
}  // namespace host_test
