// The header of a bulk payload (UVC 1.0, 2.4.3.2.2), as this camera sends it.
#ifndef TORVIK_VIDEO_PAYLOAD_HEADER_H
#define TORVIK_VIDEO_PAYLOAD_HEADER_H

namespace payload_header {

constexpr unsigned kLength = 12;  ///< the only one that the camera sends

// Offsets.
constexpr unsigned kHeaderLength = 0;
constexpr unsigned kHeaderInfo = 1;

// Bits of bmHeaderInfo.
constexpr unsigned char kFrameId = 0x01;
constexpr unsigned char kEndOfFrame = 0x02;
constexpr unsigned char kError = 0x40;

/// The data gathered before this payload is a frame. Either sign will do: the
/// last payload of a frame can get lost, and the flag with it.
///
/// @param flags     bmHeaderInfo of this payload
/// @param previous  that of the payload at the last boundary
constexpr bool IsBoundary(unsigned char flags, unsigned char previous)
{
    return (flags & kEndOfFrame) != 0 || ((flags ^ previous) & kFrameId) != 0;
}

}  // namespace payload_header

#endif
