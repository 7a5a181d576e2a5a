// From the driver's capture threads to the writing thread.
#ifndef TORVIK_HOST_FRAME_QUEUE_H
#define TORVIK_HOST_FRAME_QUEUE_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>

#include "api/cam_types.h"
#include "host/access_unit.h"

namespace host {

struct Frame {
    CAM_STREAM stream = CAM_STREAM_PCM;
    std::uint32_t stamp = 0;     ///< 90 kHz, H.264 and PCM only
    std::int64_t arrivalUs = 0;  ///< monotonic
    Bytes data;
};

std::int64_t MonotonicUs();

/// Bounded by bytes. Whoever finds it full drops the frame: a slow disk must
/// not hold the camera back.
class FrameQueue {
public:
    /// False when the frame was dropped.
    bool Push(Frame&& frame);
    /// False when the time is over, or when the queue is closed and empty.
    bool Pop(Frame& frame, std::chrono::milliseconds limit);
    void Close();
    bool Finished() const;  ///< closed and empty

private:
    static constexpr std::size_t kMaxBytes = 64u << 20;

    mutable std::mutex m_mutex;  ///< guards all below
    std::condition_variable m_arrived;
    std::deque<Frame> m_frames;
    std::size_t m_bytes = 0;
    bool m_closed = false;
};

}  // namespace host

#endif
