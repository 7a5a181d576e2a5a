// The host's end of one stream: copies a frame and is gone.
#ifndef TORVIK_HOST_FRAME_OBSERVER_H
#define TORVIK_HOST_FRAME_OBSERVER_H

#include <atomic>
#include <cstdint>

#include "api/camera_observer.h"
#include "host/frame_list.h"
#include "host/frame_queue.h"
#include "host/streams.h"

namespace host {

class FrameObserver : public ICameraObserver {
public:
    /// `list`: where frames are listed, null for nowhere.
    FrameObserver(const StreamInfo& info, FrameQueue& queue, FrameList* list = nullptr);

    /// On a capture thread of the driver, which waits meanwhile.
    int OnFrame(const CCameraData* data) override;

    const StreamInfo& Info() const { return m_info; }

    // Written by the one capture thread that calls OnFrame, read by all.
    std::atomic<std::uint32_t> m_frames{0};
    std::atomic<std::uint32_t> m_kilobytes{0};
    std::atomic<std::uint32_t> m_dropped{0};  ///< the queue was full
    std::atomic<bool> m_ended{false};         ///< the final empty record came

private:
    const StreamInfo& m_info;
    FrameQueue& m_queue;
    FrameList* const m_list;
    std::uint32_t m_odd_bytes = 0;  ///< not yet in m_kilobytes; capture thread only
    bool m_picture_taken = false;   ///< of a raw stream; capture thread only
};

}  // namespace host

#endif
