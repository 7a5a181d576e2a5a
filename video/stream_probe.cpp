#include "video/stream_probe.h"

#include "runtime/byte_order.h"

namespace {

constexpr unsigned kFormatIndexOffset = 2;
constexpr unsigned kFrameIndexOffset = 3;
constexpr unsigned kFrameIntervalOffset = 4;
constexpr unsigned kMaxFrameSizeOffset = 18;
constexpr unsigned kMaxPayloadSizeOffset = 22;

constexpr std::uint16_t kHintFrameIntervalFixed = 0x0001;
constexpr int kIntervalUnitsPerSecond = 10000000;  // of 100 ns
constexpr std::uint32_t kProposedFrameSize = 0x00100000;
constexpr std::uint32_t kProposedPayloadSize = 0x00002000;

}  // namespace

StreamProbe MakeStreamProbe(int formatId, int frameId, int fps)
{
    StreamProbe probe = {};
    WriteLe16(probe.data(), kHintFrameIntervalFixed);
    probe[kFormatIndexOffset] = static_cast<unsigned char>(formatId);
    probe[kFrameIndexOffset] = static_cast<unsigned char>(frameId);
    const int interval = fps == 0 ? 0 : kIntervalUnitsPerSecond / fps;
    WriteLe32(&probe[kFrameIntervalOffset], static_cast<std::uint32_t>(interval));
    WriteLe32(&probe[kMaxFrameSizeOffset], kProposedFrameSize);
    WriteLe32(&probe[kMaxPayloadSizeOffset], kProposedPayloadSize);
    return probe;
}

std::uint32_t MaxVideoFrameSize(const StreamProbe& probe)
{
    return ReadLe32(&probe[kMaxFrameSizeOffset]);
}

std::uint32_t MaxPayloadTransferSize(const StreamProbe& probe)
{
    return ReadLe32(&probe[kMaxPayloadSizeOffset]);
}
