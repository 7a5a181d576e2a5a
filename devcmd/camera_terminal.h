// Pan, tilt, focus and zoom controls of the camera terminal.
#ifndef TORVIK_DEVCMD_CAMERA_TERMINAL_H
#define TORVIK_DEVCMD_CAMERA_TERMINAL_H

#include "devcmd/command_frames.h"

/// A V4L2 camera-class control id and where its value lies in the UVC control
/// (UVC 1.5, 4.2.2.1).
struct CameraTerminalControl {
    unsigned id;
    unsigned char selector;
    unsigned char length;        ///< of the whole control, bytes
    unsigned char value_offset;  ///< of this value inside it
    unsigned sibling_id;         ///< the other value of a control that holds two, or 0
};

constexpr unsigned char kMaxTerminalControlLength = 8;

/// Null for an id the camera does not have.
const CameraTerminalControl* FindCameraTerminalControl(unsigned id);

/// Value of `control` in a received control of its length.
int DecodeTerminalControl(const CameraTerminalControl& control, const unsigned char* data);

#endif
