// The probe and commit structure of stream negotiation (UVC 1.0, 4.3.1.1).
#ifndef TORVIK_VIDEO_STREAM_PROBE_H
#define TORVIK_VIDEO_STREAM_PROBE_H

#include <array>
#include <cstdint>

/// The 26 bytes as they travel.
using StreamProbe = std::array<unsigned char, 26>;

/// A proposal with a fixed frame interval. An fps of 0 proposes interval 0.
StreamProbe MakeStreamProbe(int formatId, int frameId, int fps);

std::uint32_t MaxVideoFrameSize(const StreamProbe& probe);
std::uint32_t MaxPayloadTransferSize(const StreamProbe& probe);

#endif
