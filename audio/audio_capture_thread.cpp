#include "audio/audio_capture_thread.h"

#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "runtime/debug_log.h"
#include "runtime/elapsed_clock.h"

namespace {

constexpr unsigned kFrameSize = 960;
constexpr unsigned kStagingSize = 4096;

std::uint32_t StampOf(const ElapsedClock& clock)
{
    constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
    const double ticks = clock.Ticks();
    return ticks >= static_cast<double>(kMax) ? kMax : static_cast<std::uint32_t>(ticks);
}

}  // namespace

CAudioCaptureThread::CAudioCaptureThread(ICameraSubject* camera, IAudioCapture* capture)
    : pThread(false, -1), m_capture(capture), m_camera(camera)
{
}

CAudioCaptureThread::~CAudioCaptureThread()
{
    Stop();
}

void CAudioCaptureThread::Run()
{
    ElapsedClock clock;
    const std::unique_ptr<unsigned char[]> staging(new (std::nothrow)
                                                       unsigned char[kStagingSize]());
    unsigned filled = 0;

    while (staging != nullptr && !StopRequested()) {
        unsigned char* data = nullptr;
        unsigned int size = 0;
        const int result = m_capture->GetBuf(&data, &size);
        clock.Advance();
        unsigned available = result > 0 ? static_cast<unsigned>(result) : 0;
        if (available > kStagingSize - filled) {
            CAM_LOG(kLogWarning, "Audio buffer : %d overflow !!!! \r\n",
                    static_cast<int>(kStagingSize));
            available = kStagingSize - filled;
        }
        if (available == 0 || data == nullptr)
            continue;

        std::memcpy(staging.get() + filled, data, available);
        filled += available;
        if (filled >= kFrameSize) {
            CCameraData record = {};
            record.data = staging.get();
            record.size = kFrameSize;
            record.timestamp = StampOf(clock);
            record.stream_type = CAM_STREAM_PCM;
            filled -= kFrameSize;
            m_camera->OnFrameArrival(&record);
        }
        // Done whether or not a frame was sent, so a chunk that leaves less
        // than a frame loses its bytes to those behind them; the camera's
        // chunks are whole frames.
        if (filled != 0)
            std::memmove(staging.get(), staging.get() + kFrameSize, filled);
        m_capture->RetBuf();
    }
    CAM_LOG(kLogDebugging, "Exit Audio capture thread.\r\n");
}
