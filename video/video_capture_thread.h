// From multiplexed frames to the host's observers.
#ifndef TORVIK_VIDEO_VIDEO_CAPTURE_THREAD_H
#define TORVIK_VIDEO_VIDEO_CAPTURE_THREAD_H

#include <cstdint>

#include "api/camera_subject.h"
#include "runtime/thread.h"
#include "video/container_sample.h"
#include "video/frame_loss_detector.h"
#include "video/key_frame_splitter.h"
#include "video/video_capture.h"

/// Takes frames from the capturer, splits them into streams, drops what a
/// decoder could not use and hands the rest to the camera object. Frame data is
/// never copied: it lies in the transport's buffer until the last observer has
/// returned.
class CVideoCaptureThread : public pThread
{
public:
    /// Neither object is owned. `splitKeyFrames`: main key frames are delivered
    /// as parameter set, picture parameter set and picture.
    CVideoCaptureThread(ICameraSubject* camera, IVideoCapture* capturer, std::uint32_t platform,
                        bool splitKeyFrames);
    ~CVideoCaptureThread() override;

    void Run() override;
    /// Delivers one piece of the main stream; `timestamp` in 90 kHz ticks.
    void UpdateH264Frame(unsigned char* data, int size, unsigned long timestamp);

private:
    /// What lives as long as one run of the thread.
    struct LoopState {
        unsigned zero_frames = 0;
        unsigned main_frames = 0;
        CH264_ErrorDetector main_detector;
        CH264_ErrorDetector sub_detector;
    };

    void OnEmptyResult(LoopState& state);
    void DeliverContainer(unsigned char* data, unsigned size, std::uint32_t timestamp,
                          LoopState& state);
    void DeliverMain(const H264Section& section, std::uint32_t timestamp, LoopState& state,
                     CCameraData& record);
    void DeliverSub(const H264Section& section, std::uint32_t timestamp, LoopState& state,
                    CCameraData& record);
    void DeliverSplit(const H264Section& section, std::uint32_t timestamp);
    void DeliverImages(const KelH264_MediaSample& sample, CCameraData& record);
    void Deliver(const StreamSection& section, CAM_STREAM stream, CCameraData& record);

    IVideoCapture* const m_capturer;
    ICameraSubject* const m_camera;
    [[maybe_unused]] const std::uint32_t m_platform;  ///< kept for the debugger
    const std::uint8_t m_split_key_frames;
};

#endif
