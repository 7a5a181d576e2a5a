// What went over the simulated wire, remembered for whoever checks it.
#ifndef VIRTUAL_CAMERA_MODEL_TRAFFIC_H
#define VIRTUAL_CAMERA_MODEL_TRAFFIC_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "virtual_camera/model/bytes.h"
#include "virtual_camera/model/digest.h"
#include "virtual_camera/usb_device.h"

namespace vcam {

enum class Stream { kMain, kSub, kJpeg, kGray, kNv12, kNv21, kYuy2, kPcm };
constexpr std::size_t kStreams = 8;

/// One frame of one stream. PCM counts one isochronous transfer as a frame.
struct SentFrame {
    Stream stream;
    std::uint64_t container;  ///< running number of its container, from 1
    std::uint32_t number;     ///< the encoder's frame number
    std::size_t size;
    std::uint64_t digest;
    bool key;
    bool whole;  ///< false: a fault spoiled or swallowed it on the way
    TimeUs at;
};

/// Sums over the whole frames of a stream.
struct StreamTotals {
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0;
    std::uint64_t digest = kDigestStart;  ///< see ChainDigest
    std::uint64_t spoiled = 0;            ///< frames made and not sent whole
};

struct ControlRecord {
    SetupPacket setup;
    Bytes data;  ///< as sent by the host, or as answered
    TransferStatus status;
    TimeUs at;
};

class Traffic
{
public:
    explicit Traffic(std::size_t cap) : m_cap(cap) {}

    void Add(const SentFrame& frame);
    void Add(ControlRecord record);
    void Clear();

    const StreamTotals& Totals(Stream stream) const
    {
        return m_totals[static_cast<std::size_t>(stream)];
    }
    const std::vector<SentFrame>& Frames() const { return m_frames; }
    const std::vector<ControlRecord>& Requests() const { return m_requests; }
    std::uint64_t RequestCount() const { return m_request_count; }

private:
    std::size_t m_cap;
    std::array<StreamTotals, kStreams> m_totals{};
    std::vector<SentFrame> m_frames;
    std::vector<ControlRecord> m_requests;
    std::uint64_t m_request_count = 0;
};

}  // namespace vcam

#endif
