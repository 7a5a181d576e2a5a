// The video capture thread's loop, run on the test's own thread.
#ifndef TESTS_VIDEO_CAPTURE_FIXTURE_H
#define TESTS_VIDEO_CAPTURE_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/log_level.h"
#include "tests/support/sleeps.h"
#include "tests/video/fake_camera.h"
#include "tests/video/wall_clock.h"
#include "video/video_capture_thread.h"

class CaptureLoop : public testing::Test {
protected:
    /// Runs the loop over the frames queued. The pass that finds no more of
    /// them is one without a frame, and the last.
    void RunLoop(bool split_key_frames = false)
    {
        CVideoCaptureThread thread(&m_camera, &m_capture, 5, split_key_frames);
        m_capture.at_end = [&thread] { thread.Stop(); };
        m_thread = &thread;
        thread.Run();
        m_thread = nullptr;
    }
    void Queue(const std::vector<Section>& sections)
    {
        m_capture.frames.push_back(Container(sections));
    }
    static Section Main(std::uint32_t number, std::uint8_t nal_header = kPredicted)
    {
        Section section{kMainH264, H264(nal_header)};
        section.frame_number = number;
        return section;
    }
    static Section Sub(std::uint32_t number, std::uint8_t nal_header = kPredicted)
    {
        Section section{kSubH264, H264(nal_header, 15)};
        section.frame_number = number;
        return section;
    }
    std::size_t Delivered(CAM_STREAM stream) const
    {
        std::size_t count = 0;
        for (const Delivery& delivery : m_camera.deliveries)
            count += delivery.stream == stream ? 1u : 0u;
        return count;
    }
    /// The loop's lines without those of its last, empty pass.
    std::vector<std::string> LoopLines() const
    {
        std::vector<std::string> lines;
        for (const test_support::LogEntry& entry : m_log.Entries())
            if (entry.function == "Run")
                lines.push_back(std::to_string(entry.level) + ": " + entry.message);
        EXPECT_GE(lines.size(), 2u);
        if (lines.size() < 2)
            return lines;
        EXPECT_EQ(lines[lines.size() - 2], "4: Zero frame size.\r\n");
        EXPECT_EQ(lines.back(), "4: Exit VideoCapture thread.\r\n");
        lines.resize(lines.size() - 2);
        return lines;
    }

    test_support::FastSleeps m_sleeps{1000};
    test_support::CapturedLog m_log;
    WallClock m_clock{1700000000000000};
    ScriptedCapture m_capture;
    CollectingCamera m_camera;
    CVideoCaptureThread* m_thread = nullptr;  ///< while the loop runs
};

#endif
