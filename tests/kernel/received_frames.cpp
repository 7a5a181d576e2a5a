#include "tests/kernel/received_frames.h"

#include <algorithm>
#include <fstream>

#include "virtual_camera/model/digest.h"

namespace kernel_test
{
namespace
{

bool InPieces(CAM_STREAM stream)
{
    return stream == CAM_STREAM_H264_MAIN || stream == CAM_STREAM_H264_SUB;
}

}  // namespace

std::vector<ReceivedFrame> Whole(const test_support::FrameCollector& collector, CAM_STREAM stream)
{
    std::vector<ReceivedFrame> whole;
    std::uint32_t stamp = 0;
    for (const test_support::CollectedFrame& frame : collector.Frames()) {
        if (frame.ends_stream)
            continue;
        if (InPieces(stream) && !whole.empty() && frame.timestamp == stamp) {
            ReceivedFrame& last = whole.back();
            last.size += frame.size;
            last.digest = vcam::Digest(frame.data.data(), frame.data.size(), last.digest);
        } else {
            whole.push_back({frame.size, frame.digest});
        }
        stamp = frame.timestamp;
    }
    return whole;
}

std::vector<ReceivedFrame> ReadFrameList(const std::string& path, const std::string& stream)
{
    std::vector<ReceivedFrame> frames;
    std::ifstream list(path);
    const bool pieces = stream == "main" || stream == "sub";
    std::string name, digest;
    std::uint32_t stamp = 0, last_stamp = 0;
    std::size_t size = 0;
    while (list >> name >> stamp >> size >> digest) {
        if (name != stream)
            continue;
        const std::uint64_t value = std::stoull(digest, nullptr, 16);
        // A later piece's line carries the digest of all before it.
        if (pieces && !frames.empty() && stamp == last_stamp)
            frames.back() = {frames.back().size + size, value};
        else
            frames.push_back({size, value});
        last_stamp = stamp;
    }
    return frames;
}

Comparison Compare(const std::vector<ReceivedFrame>& received,
                   const std::vector<vcam::SentFrame>& sent)
{
    Comparison result;
    result.digest_received = result.digest_sent = vcam::kDigestStart;
    std::size_t next = 0;
    for (std::size_t i = 0; i < received.size(); ++i) {
        result.digest_received = vcam::ChainDigest(result.digest_received, received[i].digest);
        if (i < sent.size())
            result.digest_sent = vcam::ChainDigest(result.digest_sent, sent[i].digest);
        const auto found = std::find_if(sent.begin() + static_cast<std::ptrdiff_t>(next),
                                        sent.end(), [&](const vcam::SentFrame& frame) {
                                            return frame.digest == received[i].digest &&
                                                   frame.size == received[i].size;
                                        });
        if (found == sent.end()) {
            ++result.unsent;
            continue;
        }
        const auto at = static_cast<std::size_t>(found - sent.begin());
        result.lost += at - next;
        next = at + 1;
    }
    result.late = sent.size() - std::min(next, sent.size());
    result.equal = result.unsent == 0 && result.lost == 0 && !received.empty() &&
                   result.digest_received == result.digest_sent;
    return result;
}

}  // namespace kernel_test
