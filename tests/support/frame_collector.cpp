#include "tests/support/frame_collector.h"

namespace test_support {

std::uint64_t Digest(const unsigned char* data, std::size_t size, std::uint64_t seed)
{
    std::uint64_t digest = seed;
    for (std::size_t i = 0; i < size; ++i)
        digest = (digest ^ data[i]) * 0x100000001b3u;
    return digest;
}

FrameCollector::FrameCollector(CAM_STREAM wanted, Keep keep, int result)
    : m_keep(keep), m_result(result)
{
    stream = wanted;
}

int FrameCollector::OnFrame(const CCameraData* data)
{
    if (on_frame)
        on_frame(*data);
    CollectedFrame frame;
    frame.size = data->size;
    frame.timestamp = data->timestamp;
    frame.format_detail = data->format_detail;
    frame.ends_stream = data->data == nullptr;
    frame.thread = std::this_thread::get_id();
    const bool raw = data->stream_type == CAM_STREAM_NV12 || data->stream_type == CAM_STREAM_GRAY;
    if (raw && data->crop_info) {
        frame.has_crop_info = true;
        frame.crop_info = *data->crop_info;
    }
    if (data->data) {
        frame.digest = Digest(data->data, data->size);
        if (m_keep == Keep::kData)
            frame.data.assign(data->data, data->data + data->size);
    }
    std::lock_guard<std::mutex> guard(m_mutex);
    if (data->data)
        m_digest = Digest(data->data, data->size, m_digest);
    m_total += frame.size;
    m_frames.push_back(std::move(frame));
    return m_result;
}

std::size_t FrameCollector::Count() const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_frames.size();
}

std::uint64_t FrameCollector::TotalBytes() const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_total;
}

std::uint64_t FrameCollector::StreamDigest() const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_digest;
}

std::vector<CollectedFrame> FrameCollector::Frames() const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_frames;
}

void FrameCollector::Clear()
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_frames.clear();
    m_total = 0;
    m_digest = kDigestSeed;
}

bool FrameCollector::WaitFor(std::size_t count, std::chrono::milliseconds limit) const
{
    return WaitUntil([this, count] { return Count() >= count; }, limit);
}

}  // namespace test_support
