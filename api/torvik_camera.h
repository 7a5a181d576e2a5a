/// @file
/// Entry points of the camera plug-in. Load the library with dlopen and look
/// these three names up with dlsym. Any thread may call them. Unload the library
/// only after cam_destroy: until then threads run in it.
#ifndef TORVIK_API_TORVIK_CAMERA_H
#define TORVIK_API_TORVIK_CAMERA_H

#include "api/cam_export.h"
#include "api/camera_subject.h"

extern "C" {

/// Makes the camera object: reads the television's platform and the stored log
/// level, opens the log, starts no thread and touches no device. Takes at least
/// a second. One object at a time.
///
/// @return the camera, the caller's until cam_destroy; never null
CAM_API ICameraSubject* cam_create();

/// Version of the driver.
///
/// @return 138
CAM_API int cam_version();

/// Stops recording, ends every thread of the camera and frees it. Waits for a
/// download or a search for the device that is under way, which can take half a
/// minute. Observers stay the host's. Not from inside an observer or the Init
/// call-back, and not while another thread uses the camera.
///
/// @param camera  what cam_create returned, or null
CAM_API void cam_destroy(ICameraSubject* camera);
}

#endif
