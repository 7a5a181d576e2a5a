#include "virtual_camera/model/traffic.h"

#include <utility>

namespace vcam {

void Traffic::Add(const SentFrame& frame)
{
    StreamTotals& totals = m_totals[static_cast<std::size_t>(frame.stream)];
    if (frame.whole) {
        ++totals.frames;
        totals.bytes += frame.size;
        totals.digest = ChainDigest(totals.digest, frame.digest);
    } else {
        ++totals.spoiled;
    }
    if (m_frames.size() < m_cap)
        m_frames.push_back(frame);
}

void Traffic::Add(ControlRecord record)
{
    ++m_request_count;
    if (m_requests.size() < m_cap)
        m_requests.push_back(std::move(record));
}

void Traffic::Clear()
{
    m_totals = {};
    m_frames.clear();
    m_requests.clear();
    m_request_count = 0;
}

}  // namespace vcam
