// Command frames through the video adapter.
#ifndef TORVIK_CONTROL_SEND_FRAME_H
#define TORVIK_CONTROL_SEND_FRAME_H

#include <array>
#include <cstddef>

#include "control/video_capture_adapter.h"
#include "devcmd/command_frames.h"

/// Sends a whole frame to a control of the extension unit; the transport's result.
template <std::size_t Size>
int SendFrame(KelUvcCapture& video, unsigned char selector, std::array<unsigned char, Size> frame)
{
    static_assert(Size <= 0xFF, "the adapter takes the length as a byte");
    return video.KelCommandSend(selector, frame.data(), static_cast<unsigned char>(Size));
}

/// Reads into a frame, which keeps its bytes when the transfer fails. Likewise.
template <std::size_t Size>
int ReceiveFrame(KelUvcCapture& video, unsigned char selector,
                 std::array<unsigned char, Size>& frame)
{
    static_assert(Size <= 0xFF, "the adapter takes the length as a byte");
    return video.KelCommandGet(selector, frame.data(), static_cast<unsigned char>(Size));
}

#endif
