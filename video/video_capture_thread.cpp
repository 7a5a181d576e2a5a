#include "video/video_capture_thread.h"

#include <algorithm>

#include "runtime/debug_log.h"
#include "runtime/elapsed_clock.h"
#include "runtime/sleep.h"
#include "video/container_parser.h"

namespace {

constexpr char kRun[] = "Run";  // the loop's steps log under its name
constexpr unsigned kZeroFramesBeforeHangup = 4;
constexpr unsigned long kHangupPauseSeconds = 1;
constexpr unsigned kAliveInterval = 30;
constexpr std::uint32_t kRawImageDetail = 12;

std::uint32_t StampOf(const ElapsedClock& clock)
{
    // 90 kHz ticks that wrap at 32 bits.
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(clock.Ticks()));
}

}  // namespace

CVideoCaptureThread::CVideoCaptureThread(ICameraSubject* camera, IVideoCapture* capturer,
                                         std::uint32_t platform, bool splitKeyFrames)
    : pThread(false, -1),
      m_capturer(capturer),
      m_camera(camera),
      m_platform(platform),
      m_split_key_frames(splitKeyFrames)
{
}

CVideoCaptureThread::~CVideoCaptureThread()
{
    Stop();
}

void CVideoCaptureThread::Run()
{
    ElapsedClock clock;
    LoopState state;
    while (!StopRequested()) {
        unsigned char* data = nullptr;
        unsigned int size = 0;
        m_capturer->GetFrameBuf(&data, &size);
        if (size == 0)
            OnEmptyResult(state);
        clock.Advance();
        if (size == 0)
            continue;
        DeliverContainer(data, size, StampOf(clock), state);
        m_capturer->RetFrameBuf();
    }
    CAM_LOG(kLogDebugging, "Exit VideoCapture thread.\r\n");
}

void CVideoCaptureThread::OnEmptyResult(LoopState& state)
{
    CAM_LOG_AS(kRun, kLogDebugging, "Zero frame size.\r\n");
    if (state.zero_frames < kZeroFramesBeforeHangup) {
        ++state.zero_frames;
        return;
    }
    CAM_LOG_AS(kRun, kLogDebugging, "Detected a video hangup problem, reset streaming.\r\n");
    SleepSeconds(kHangupPauseSeconds);
    state.zero_frames = 0;
}

void CVideoCaptureThread::DeliverContainer(unsigned char* data, unsigned size,
                                           std::uint32_t timestamp, LoopState& state)
{
    KelH264_MediaSample sample;
    H264Parser_kvr_mode(data, size, &sample);

    CCameraData record = {};
    if (sample.main.size != 0 && !StopRequested())
        DeliverMain(sample.main, timestamp, state, record);
    if (sample.sub.size != 0 && !StopRequested())
        DeliverSub(sample.sub, timestamp, state, record);
    DeliverImages(sample, record);
}

void CVideoCaptureThread::DeliverMain(const H264Section& section, std::uint32_t timestamp,
                                      LoopState& state, CCameraData& record)
{
    const unsigned verdict =
        state.main_detector.CheckFrame(section.data, section.size, section.frame_number);
    if (verdict == CH264_ErrorDetector::kDeliver) {
        if (m_split_key_frames != 0 && state.main_detector.IsKeyFrame()) {
            DeliverSplit(section, timestamp);
        } else {
            record.timestamp = timestamp;
            Deliver(section, CAM_STREAM_H264_MAIN, record);
        }
    } else {
        if (verdict == CH264_ErrorDetector::kFrameLost) {
            CAM_LOG_AS(kRun, kLogDebugging, "Main H264, FRAME LOST. %d\r\n",
                       static_cast<int>(section.frame_number));
            m_capturer->RequestKeyFrame();
            // One request re-keys both encoders.
            state.sub_detector.MarkLost();
        }
        CAM_LOG_AS(kRun, kLogWarning, "Drop H264[1] frme.\r\n");
    }

    if (++state.main_frames % kAliveInterval == 0) {
        CAM_LOG_AS(kRun, kLogInfo, "CVideoCaptureThread:: MAIN H264 ALIVE. Timestamp=0x%X\r\n",
                   timestamp);
    }
}

void CVideoCaptureThread::DeliverSub(const H264Section& section, std::uint32_t timestamp,
                                     LoopState& state, CCameraData& record)
{
    const unsigned verdict =
        state.sub_detector.CheckFrame(section.data, section.size, section.frame_number);
    if (verdict == CH264_ErrorDetector::kDeliver) {
        record.timestamp = timestamp;
        Deliver(section, CAM_STREAM_H264_SUB, record);
        return;
    }
    if (verdict == CH264_ErrorDetector::kFrameLost) {
        CAM_LOG_AS(kRun, kLogDebugging, "Sub H264, FRAME LOST. %d\r\n",
                   static_cast<int>(section.frame_number));
        m_capturer->RequestKeyFrame();
    }
    CAM_LOG_AS(kRun, kLogDebugging, "Drop H264[2] frme.\r\n");
}

void CVideoCaptureThread::DeliverSplit(const H264Section& section, std::uint32_t timestamp)
{
    const int size = static_cast<int>(section.size);
    H264KeyFrame pieces;
    if (ParseH264KeyFrame(section.data, size, &pieces) == 0) {
        CAM_LOG_AS(kRun, kLogFatal, "Failed to parsing H264 key frame !!!");
        return;
    }
    const struct {
        int offset;
        int size;
    } ranges[] = {
        {pieces.parameter_set_offset, pieces.parameter_set_size},
        {pieces.picture_parameter_set_offset, pieces.picture_parameter_set_size},
        {pieces.picture_offset, pieces.picture_size},
    };
    for (const auto& range : ranges) {
        const int inside = std::min(range.size, size - range.offset);
        if (inside > 0)
            UpdateH264Frame(section.data + range.offset, inside, timestamp);
    }
}

void CVideoCaptureThread::UpdateH264Frame(unsigned char* data, int size, unsigned long timestamp)
{
    CCameraData record = {};
    record.data = data;
    record.size = static_cast<std::uint32_t>(size);
    record.timestamp = static_cast<std::uint32_t>(timestamp);
    record.stream_type = CAM_STREAM_H264_MAIN;
    m_camera->OnFrameArrival(&record);
}

void CVideoCaptureThread::DeliverImages(const KelH264_MediaSample& sample, CCameraData& record)
{
    CCameraCropInfo crop_info = {};
    const struct {
        const StreamSection& section;
        CAM_STREAM stream;
        bool cropped;  ///< carries the crop flag and the raw-image fields
        std::uint32_t crop_flag;
    } images[] = {
        {sample.jpeg, CAM_STREAM_JPEG, false, 0},
        {sample.gray, CAM_STREAM_GRAY, true, sample.gray.crop_flag},
        {sample.nv12, CAM_STREAM_NV12, true, sample.nv12_crop_flag},
        {sample.nv21, CAM_STREAM_NV21, false, 0},
        {sample.yuy2, CAM_STREAM_YUYV, false, 0},
    };
    for (const auto& image : images) {
        if (image.section.size == 0 || StopRequested())
            continue;
        record.crop_flag = image.crop_flag;
        if (image.cropped) {
            // Left in the record for the images behind it in this container.
            crop_info = {};
            record.format_detail = kRawImageDetail;
            record.crop_info = &crop_info;
        }
        Deliver(image.section, image.stream, record);
    }
}

void CVideoCaptureThread::Deliver(const StreamSection& section, CAM_STREAM stream,
                                  CCameraData& record)
{
    record.data = section.data;
    record.size = section.size;
    record.stream_type = stream;
    m_camera->OnFrameArrival(&record);
}
