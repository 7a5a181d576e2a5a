// The worker that delivers a stored picture in place of a still.
#include "camera/dummy_still_capture.h"
#include "camera/dummy_still_path.h"

#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "camera/camera.h"
#include "tests/support/frame_collector.h"
#include "tests/support/log_level.h"
#include "tests/support/tv_root.h"
#include "tests/support/wait_until.h"

namespace {

using test_support::CapturedLog;
using test_support::FrameCollector;
using test_support::Keep;
using test_support::TvRoot;
using test_support::WaitUntil;
using testing::ElementsAre;

constexpr char kPicture[] = "/mtd_rwcommon/wiru/bin/dummy.jpg";

/// Says when its object is gone.
class WatchedStill : public CDummyStillCapture {
public:
    WatchedStill(ICameraSubject* camera, std::atomic<bool>& gone)
        : CDummyStillCapture(camera), m_gone(gone)
    {
    }
    ~WatchedStill() override { m_gone = true; }

private:
    std::atomic<bool>& m_gone;
};

/// A camera that keeps the records it is given.
class RecordingCamera : public CKelVeskCamera {
public:
    int OnFrameArrival(const CCameraData* data) override
    {
        records.push_back(*data);
        return CKelVeskCamera::OnFrameArrival(data);
    }
    std::vector<CCameraData> records;
};

int OpenFiles()
{
    int count = 0;
    DIR* const directory = opendir("/proc/self/fd");
    while (readdir(directory) != nullptr)
        ++count;
    closedir(directory);
    return count;
}

class DummyStill : public testing::Test {
protected:
    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
        m_log = std::make_unique<CapturedLog>(5);
        m_camera = std::make_unique<RecordingCamera>();
        g_embedded_cam_dbg_level = 5;  // the constructor loaded it
        ASSERT_TRUE(m_camera->RegisterObserver(&m_observer));
        m_log->Clear();
        m_open_files = OpenFiles();
    }
    void TearDown() override
    {
        if (m_camera == nullptr)
            return;
        EXPECT_EQ(OpenFiles(), m_open_files);
    }

    void RequestJpeg()
    {
        // Fails without a camera behind it, but the request stands.
        CAM_PROP_VALUE value = {};
        m_camera->SetProperty(CAM_PROPERTY_TRIGGER_JPEG, &value);
        m_log->Clear();
    }

    void RunWorker()
    {
        std::atomic<bool> gone{false};
        (new WatchedStill(m_camera.get(), gone))->Start("still");
        ASSERT_TRUE(WaitUntil([&] { return gone.load(); }));
    }

    std::unique_ptr<CapturedLog> m_log;
    std::unique_ptr<RecordingCamera> m_camera;
    FrameCollector m_observer{CAM_STREAM_JPEG, Keep::kData};
    int m_open_files = 0;
};

TEST_F(DummyStill, WithoutTheFileOneLineIsLoggedAndNoObserverIsCalled)
{
    RequestJpeg();
    RunWorker();
    const auto entries = m_log->Entries();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].level, 4);
    EXPECT_EQ(entries[0].function, "Run");
    EXPECT_EQ(entries[0].message, "CDummyStillCapture::Run() No dummy image file.\r\n");
    EXPECT_TRUE(m_camera->records.empty());
    EXPECT_EQ(m_observer.Count(), 0U);
}

TEST_F(DummyStill, EmptyFileIsDeliveredAsARecordOfSizeZeroWithANonNullBuffer)
{
    TvRoot::Write(kPicture, "");
    RequestJpeg();
    RunWorker();
    ASSERT_EQ(m_camera->records.size(), 1U);
    EXPECT_NE(m_camera->records[0].data, nullptr);
    EXPECT_EQ(m_camera->records[0].size, 0U);
    ASSERT_EQ(m_observer.Count(), 1U);
    EXPECT_FALSE(m_observer.Frames()[0].ends_stream);
}

TEST_F(DummyStill, WithoutARequestTheFileIsReadAndTheRecordDropped)
{
    TvRoot::Write(kPicture, "picture");
    RunWorker();
    ASSERT_EQ(m_camera->records.size(), 1U);
    EXPECT_EQ(m_camera->records[0].size, 7U);
    EXPECT_EQ(m_observer.Count(), 0U);
}

TEST_F(DummyStill, WithARequestThePictureIsDelivered)
{
    const std::string picture("\xFF\xD8\0picture\xFF\xD9", 12);
    TvRoot::Write(kPicture, picture);
    RequestJpeg();
    RunWorker();
    ASSERT_EQ(m_observer.Count(), 1U);
    const auto frame = m_observer.Frames()[0];
    EXPECT_EQ(std::string(frame.data.begin(), frame.data.end()), picture);
}

TEST_F(DummyStill, DeliveryConsumesTheRequest)
{
    TvRoot::Write(kPicture, "picture");
    RequestJpeg();
    RunWorker();
    RunWorker();
    EXPECT_EQ(m_camera->records.size(), 2U);
    EXPECT_EQ(m_observer.Count(), 1U);
}

TEST_F(DummyStill, RecordIsAJpegWithoutCropAndWithClearedFields)
{
    TvRoot::Write(kPicture, "picture");
    RunWorker();
    ASSERT_EQ(m_camera->records.size(), 1U);
    const CCameraData& record = m_camera->records[0];
    EXPECT_EQ(record.stream_type, CAM_STREAM_JPEG);
    EXPECT_EQ(record.crop_flag, 0U);
    EXPECT_EQ(record.format_detail, 0U);
    EXPECT_EQ(record.crop_info, nullptr);
}

TEST_F(DummyStill, SizeIsLoggedBeforeTheDelivery)
{
    TvRoot::Write(kPicture, "picture");
    RequestJpeg();
    RunWorker();
    const auto entries = m_log->Entries();
    ASSERT_GE(entries.size(), 1U);
    EXPECT_EQ(entries[0].level, 4);
    EXPECT_EQ(entries[0].function, "Run");
    EXPECT_EQ(entries[0].message, "CDummyStillCapture::Run() JPEG Size=7\r\n");
    EXPECT_EQ(entries[1].message, "Send a JPEG to AP.\r\n");
}

void ExpectIncorrectSize(const CapturedLog& log)
{
    const auto entries = log.Entries();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].level, 4);
    EXPECT_EQ(entries[0].function, "Run");
    EXPECT_EQ(entries[0].message,
              "file /mtd_rwcommon/wiru/bin/dummy.jpg size is incorrect. \r\n");
}

TEST_F(DummyStill, DirectoryInPlaceOfTheFileHasAnIncorrectSize)
{
    TvRoot::Write(std::string(kPicture) + "/file", "");
    RunWorker();
    ExpectIncorrectSize(*m_log);
    EXPECT_TRUE(m_camera->records.empty());
}

TEST_F(DummyStill, PipeInPlaceOfTheFileHasAnIncorrectSizeAndDoesNotBlock)
{
    TvRoot::Write("/mtd_rwcommon/wiru/bin/other", "");
    ASSERT_EQ(mkfifo(kPicture, 0600), 0);
    RunWorker();
    ExpectIncorrectSize(*m_log);
    EXPECT_TRUE(m_camera->records.empty());
}

TEST_F(DummyStill, FileAbove64MebibytesHasAnIncorrectSize)
{
    TvRoot::Write(kPicture, "");
    ASSERT_EQ(truncate(kPicture, (64L << 20) + 1), 0);
    RunWorker();
    ExpectIncorrectSize(*m_log);
    EXPECT_TRUE(m_camera->records.empty());
}

TEST_F(DummyStill, FileOfExactly64MebibytesIsDelivered)
{
    TvRoot::Write(kPicture, "");
    ASSERT_EQ(truncate(kPicture, 64L << 20), 0);
    RunWorker();
    ASSERT_EQ(m_camera->records.size(), 1U);
    EXPECT_EQ(m_camera->records[0].size, 64U << 20);
}

TEST_F(DummyStill, UnusedWorkerCanBeDeleted)
{
    std::atomic<bool> gone{false};
    delete new WatchedStill(m_camera.get(), gone);
    EXPECT_TRUE(gone);
    EXPECT_EQ(m_log->Text(), "");
}

TEST_F(DummyStill, PathIsWritable)
{
    EXPECT_STREQ(dummy_jpg_path_name, kPicture);
    EXPECT_FALSE(std::is_const<std::remove_reference_t<decltype(dummy_jpg_path_name[0])>>::value);
}

}  // namespace
