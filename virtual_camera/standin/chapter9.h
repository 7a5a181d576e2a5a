// Control transfers as the device's default pipe takes them.
#ifndef VIRTUAL_CAMERA_STANDIN_CHAPTER9_H
#define VIRTUAL_CAMERA_STANDIN_CHAPTER9_H

#include "virtual_camera/standin/objects.h"

namespace vcam::standin {

/// Setup stage from its eight bytes.
SetupPacket DecodeSetup(const unsigned char* bytes);

/// Serves the request in `buffer` (setup stage, then data): standard requests
/// (USB 2.0, chapter 9) from the descriptors, all others from the device.
TransferResult ServeControl(Connection& connection, unsigned char* buffer, TimeUs now);

}  // namespace vcam::standin

#endif
