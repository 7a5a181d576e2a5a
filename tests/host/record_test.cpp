// camhost record against a library whose frames and moments are known.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>

#include "tests/host/movie_check.h"
#include "tests/host/run_camhost.h"

namespace host_test {
namespace {

std::vector<std::string> Record(const std::string& out, const std::string& seconds)
{
    return {"record", "--library", FAKE_CAMERA_LIBRARY, "--out", out, "--seconds", seconds};
}

void ExpectCleanPicture(const TrackFacts& track)
{
    EXPECT_EQ(track.codec, "h264");
    EXPECT_EQ(track.width, 320);
    EXPECT_EQ(track.height, 240);
    EXPECT_EQ(track.errors, 0);
    EXPECT_EQ(track.frames, track.packets);
    EXPECT_TRUE(track.rising);
}

void ExpectCleanSound(const TrackFacts& track)
{
    EXPECT_EQ(track.codec, "pcm_s16le");
    EXPECT_EQ(track.errors, 0);
    EXPECT_GT(track.packets, 0);
}

TEST(Record, WritesPictureSoundSubStreamStillAndRawPicture)
{
    const TempFolder folder;
    const Result result = RunCamhost(Record(folder.Path(), "3"));
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.err, "");

    const MovieFacts movie = CheckMovie(folder.Path() + "/recording.mkv");
    ASSERT_TRUE(movie.opened);
    ASSERT_EQ(movie.tracks.size(), 2u);
    ExpectCleanPicture(movie.tracks[0]);
    ExpectCleanSound(movie.tracks[1]);
    // A machine that was held up begins or ends a few pictures off.
    EXPECT_NEAR(movie.duration, 3.0, 0.3);
    EXPECT_NEAR(movie.tracks[0].packets, 90, 9);

    const MovieFacts sub = CheckMovie(folder.Path() + "/sub.mkv");
    ASSERT_EQ(sub.tracks.size(), 1u);
    ExpectCleanPicture(sub.tracks[0]);

    for (const char* name : {"still.jpg", "gray.png"}) {
        const MovieFacts picture = CheckMovie(folder.Path() + "/" + name);
        ASSERT_EQ(picture.tracks.size(), 1u) << name;
        EXPECT_EQ(picture.tracks[0].frames, 1) << name;
        EXPECT_EQ(picture.tracks[0].errors, 0) << name;
    }
    EXPECT_EQ(CheckMovie(folder.Path() + "/gray.png").tracks[0].width, 320);
}

TEST(Record, PutsTheThreePiecesOfAKeyFrameIntoOnePacket)
{
    const TempFolder folder;
    ASSERT_EQ(RunCamhost(Record(folder.Path(), "2")).code, 0);
    // A packet of parameter sets alone would decode to no frame.
    const MovieFacts movie = CheckMovie(folder.Path() + "/recording.mkv");
    ASSERT_FALSE(movie.tracks.empty());
    EXPECT_GT(movie.tracks[0].packets, 50);
    EXPECT_EQ(movie.tracks[0].frames, movie.tracks[0].packets);
}

TEST(Record, TableShowsEveryStreamAtItsEnd)
{
    const TempFolder folder;
    const Result result = RunCamhost(Record(folder.Path(), "1"));
    for (const char* row : {"\nmain ", "\nsub ", "\naudio ", "\nstill ", "\ngray "}) {
        EXPECT_NE(result.out.find(row), std::string::npos) << row << result.out;
    }
    EXPECT_EQ(result.out.find('\r'), std::string::npos) << "a status line without a terminal";
    EXPECT_EQ(result.out.find('\033'), std::string::npos);
}

TEST(Record, FallsBackToArrivalTimesWhenAStampJumps)
{
    const TempFolder folder;
    const Result result = RunCamhost(Record(folder.Path(), "3"), {"FAKE_CAMERA=jump"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_NE(result.out.find("1 time stamps jumped"), std::string::npos) << result.out;
    for (const char* name : {"/recording.mkv", "/sub.mkv"}) {
        const MovieFacts movie = CheckMovie(folder.Path() + name);
        ASSERT_FALSE(movie.tracks.empty());
        EXPECT_NEAR(movie.duration, 3.0, 0.15) << name;
        ExpectCleanPicture(movie.tracks[0]);
    }
}

TEST(Record, SoundThatStartsLaterKeepsItsPlace)
{
    const TempFolder folder;
    ASSERT_EQ(RunCamhost(Record(folder.Path(), "2"), {"FAKE_CAMERA=late-sound"}).code, 0);
    const MovieFacts movie = CheckMovie(folder.Path() + "/recording.mkv");
    ASSERT_EQ(movie.tracks.size(), 2u);
    EXPECT_NEAR(movie.tracks[0].first, 0.0, 0.05);
    EXPECT_NEAR(movie.tracks[1].first, 0.4, 0.15);
}

TEST(Record, WithoutMicrophoneThereIsNoSoundTrack)
{
    const TempFolder folder;
    ASSERT_EQ(RunCamhost(Record(folder.Path(), "1"), {"FAKE_CAMERA=mute"}).code, 0);
    const MovieFacts movie = CheckMovie(folder.Path() + "/recording.mkv");
    ASSERT_EQ(movie.tracks.size(), 1u);
    ExpectCleanPicture(movie.tracks[0]);
}

TEST(Record, CtrlCEndsWithPlayableFiles)
{
    const TempFolder folder;
    Camhost camhost(Record(folder.Path(), "600"));
    ASSERT_TRUE(camhost.WaitForOutput(" s left"));
    camhost.Signal(SIGINT);
    const Result result = camhost.Wait();
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_NE(result.out.find("stopped early"), std::string::npos);
    const MovieFacts movie = CheckMovie(folder.Path() + "/recording.mkv");
    ASSERT_EQ(movie.tracks.size(), 2u);
    ExpectCleanPicture(movie.tracks[0]);
    EXPECT_GT(movie.tracks[0].frames, 0);
}

TEST(Record, UnpluggedCameraLeavesPlayableFilesAndItsOwnExitCode)
{
    const TempFolder folder;
    const Result result = RunCamhost(Record(folder.Path(), "600"), {"FAKE_CAMERA=unplug"});
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(Lines(result.err), 1u) << result.err;
    EXPECT_NE(result.err.find("unplugged"), std::string::npos);
    const MovieFacts movie = CheckMovie(folder.Path() + "/recording.mkv");
    ASSERT_FALSE(movie.tracks.empty());
    ExpectCleanPicture(movie.tracks[0]);
    EXPECT_NEAR(movie.tracks[0].packets, 30, 2);
}

TEST(Record, MissingCameraIsToldAndLeavesEarlierRecordingsAlone)
{
    const TempFolder folder;
    std::ofstream(folder.Path() + "/recording.mkv") << "dear";
    const Result result = RunCamhost(Record(folder.Path(), "1"), {"FAKE_CAMERA=absent"});
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.err, "camhost: no camera found\n");
    EXPECT_EQ(std::filesystem::file_size(folder.Path() + "/recording.mkv"), 4u);
}

TEST(Record, FullDiskEndsWithOneClearMessage)
{
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no /dev/full here";
    }
    const TempFolder folder;
    std::filesystem::create_symlink("/dev/full", folder.Path() + "/recording.mkv");
    const Result result = RunCamhost(Record(folder.Path(), "600"));
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(Lines(result.err), 1u) << result.err;
    EXPECT_NE(result.err.find("No space left on device"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("recording.mkv"), std::string::npos) << result.err;
}

TEST(Record, FolderThatIsAFileEndsWithOneClearMessage)
{
    const TempFolder folder;
    const std::string file = folder.Path() + "/file";
    std::ofstream(file) << "x";
    const Result result = RunCamhost(Record(file, "1"));
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(Lines(result.err), 1u) << result.err;
}

TEST(Record, UnwritableFolderEndsWithOneClearMessage)
{
    const TempFolder folder;
    std::filesystem::permissions(folder.Path(), std::filesystem::perms::owner_read |
                                                    std::filesystem::perms::owner_exec);
    const Result result = Camhost(Record(folder.Path(), "1"), {}, true).Wait();
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.err.find("cannot write into"), std::string::npos) << result.err;
}

TEST(Still, IsWrittenAsItCame)
{
    const TempFolder folder;
    const std::string path = folder.Path() + "/one.jpg";
    const Result result =
        RunCamhost({"still", "--library", FAKE_CAMERA_LIBRARY, "--out", path});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(std::filesystem::file_size(path),
              std::filesystem::file_size(std::string(FAKE_CAMERA_MEDIA) + "/still_640x480_0.jpg"));
}

TEST(Set, TellsDoneFromStoredFromRefused)
{
    const std::vector<std::string> library = {"--library", FAKE_CAMERA_LIBRARY};
    const auto run = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), library.begin(), library.end());
        return RunCamhost(arguments);
    };
    const Result done = run({"set", "mic-volume", "55"});
    EXPECT_EQ(done.code, 0);
    EXPECT_EQ(done.out, "mic-volume = 55: set\n");
    const Result stored = run({"set", "signal-type", "h264-gray"});
    EXPECT_EQ(stored.code, 0);
    EXPECT_EQ(stored.out, "signal-type: stored for the next recording\n");
    const Result refused = run({"set", "user-flag", "3"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.err, "camhost: the camera refused user-flag\n");
}

}  // namespace
}  // namespace host_test
