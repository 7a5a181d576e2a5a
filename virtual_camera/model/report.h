// What a camera sent and was told, as text.
#ifndef VIRTUAL_CAMERA_MODEL_REPORT_H
#define VIRTUAL_CAMERA_MODEL_REPORT_H

#include <string>

#include "virtual_camera/model/camera_model.h"

namespace vcam {

/// One "name value..." line each; streams as
/// "stream NAME frames N bytes N spoiled N digest HEX".
std::string MakeReport(const CameraModel& camera);

}  // namespace vcam

#endif
