// Entry points of the camera plug-in. Load the library with dlopen and look
// these three names up with dlsym.
#ifndef TORVIK_API_TORVIK_CAMERA_H
#define TORVIK_API_TORVIK_CAMERA_H

#include "api/cam_export.h"
#include "api/camera_subject.h"

extern "C" {

/// Makes the camera object; takes at least a second. Never null. One object at
/// a time.
CAM_API ICameraSubject* cam_create();

/// Version of the driver, 138.
CAM_API int cam_version();

/// Stops recording, ends every thread of the camera and frees it. Null is
/// allowed. Not from inside an observer or the Init call-back.
CAM_API void cam_destroy(ICameraSubject* camera);
}

#endif
