#include "host/frame_observer.h"

#include <utility>

namespace host {

FrameObserver::FrameObserver(const StreamInfo& info, FrameQueue& queue, FrameList* list)
    : m_info(info), m_queue(queue), m_list(list)
{
    stream = info.stream;
}

int FrameObserver::OnFrame(const CCameraData* data)
{
    if (data->data == nullptr || data->size == 0) {
        m_ended = true;
        return 0;
    }
    if (m_list != nullptr) {
        m_list->Add(m_info.name, *data);
    }
    ++m_frames;
    m_odd_bytes += data->size;
    m_kilobytes += m_odd_bytes / 1000;
    m_odd_bytes %= 1000;

    // Raw images come at many megabytes a second and one of them is wanted.
    if (m_info.kind == StreamKind::kRaw && m_picture_taken) {
        return 0;
    }
    Frame frame;
    frame.stream = data->stream_type;
    frame.arrivalUs = MonotonicUs();
    if (m_info.kind == StreamKind::kAudio || m_info.kind == StreamKind::kVideo) {
        frame.stamp = data->timestamp;
    }
    frame.data.assign(data->data, data->data + data->size);
    if (m_queue.Push(std::move(frame))) {
        m_picture_taken = true;
    } else {
        ++m_dropped;
    }
    return 0;
}

}  // namespace host
