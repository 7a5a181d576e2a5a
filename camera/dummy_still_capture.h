/// @file
/// A stored picture in place of a still from the camera.
#ifndef TORVIK_CAMERA_DUMMY_STILL_CAPTURE_H
#define TORVIK_CAMERA_DUMMY_STILL_CAPTURE_H

#include "api/cam_export.h"
#include "api/camera_subject.h"
#include "runtime/thread.h"

/// Hands the stored picture to the camera's JPEG observers once, as a frame
/// that obeys the one-shot still request (CAM_PROPERTY_TRIGGER_JPEG). Make it
/// with new, Start it, and forget it: it deletes itself when it is done, also
/// when there is no picture. The camera must live until then. Observers are
/// called on this thread. Do not Stop or delete it once it was started.
class CAM_API CDummyStillCapture : public pThread
{
public:
    /// Starts no thread yet.
    ///
    /// @param camera  gets the picture by OnFrameArrival; null: nobody does
    explicit CDummyStillCapture(ICameraSubject* camera);
    ~CDummyStillCapture() override;

    /// Reads the picture, delivers it and deletes this object.
    void Run() override;

private:
    ICameraSubject* const m_camera;
};

#endif
