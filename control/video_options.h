// The controller's video-option word.
#ifndef TORVIK_CONTROL_VIDEO_OPTIONS_H
#define TORVIK_CONTROL_VIDEO_OPTIONS_H

#include <cstdint>

#include "control/control_context.h"

/// Bytes transferred (16), a negative libusb error, or -1 without a camera.
int SetVideoOption(const ControlContext& context, std::uint32_t options);
/// Likewise; without a camera the output is 0, after a failed transfer it is
/// left as it was.
int GetVideoOption(const ControlContext& context, std::uint32_t* options);

#endif
