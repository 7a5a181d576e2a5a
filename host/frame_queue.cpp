#include "host/frame_queue.h"

#include <utility>

namespace host {

std::int64_t MonotonicUs()
{
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

bool FrameQueue::Push(Frame&& frame)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_closed || m_bytes + frame.data.size() > kMaxBytes) {
            return false;
        }
        m_bytes += frame.data.size();
        m_frames.push_back(std::move(frame));
    }
    m_arrived.notify_one();
    return true;
}

bool FrameQueue::Pop(Frame& frame, std::chrono::milliseconds limit)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_arrived.wait_for(lock, limit, [this] { return m_closed || !m_frames.empty(); });
    if (m_frames.empty()) {
        return false;
    }
    frame = std::move(m_frames.front());
    m_frames.pop_front();
    m_bytes -= frame.data.size();
    return true;
}

void FrameQueue::Close()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
    }
    m_arrived.notify_all();
}

bool FrameQueue::Finished() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_closed && m_frames.empty();
}

}  // namespace host
