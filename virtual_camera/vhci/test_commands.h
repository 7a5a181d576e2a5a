// What a test may ask of the plugged-in camera and do to it, as lines of text.
#ifndef VIRTUAL_CAMERA_VHCI_TEST_COMMANDS_H
#define VIRTUAL_CAMERA_VHCI_TEST_COMMANDS_H

#include <string>

#include "virtual_camera/model/camera_model.h"

namespace vcam::vhci
{

/// Runs one command; `body` is all text after its first line. Throws
/// std::invalid_argument with a readable message.
std::string RunCommand(CameraModel& camera, const std::string& line, const std::string& body);

}  // namespace vcam::vhci

#endif
