// One camera object, from cam_create to cam_destroy.
#ifndef TORVIK_HOST_CAMERA_SESSION_H
#define TORVIK_HOST_CAMERA_SESSION_H

#include <chrono>
#include <string>

#include "api/camera_subject.h"
#include "host/library.h"
#include "host/wake_pipe.h"

namespace host {

class CameraSession {
public:
    explicit CameraSession(const Library& library);
    ~CameraSession();
    CameraSession(const CameraSession&) = delete;
    CameraSession& operator=(const CameraSession&) = delete;

    /// Waits until the driver has found the camera and brought it up, which
    /// takes some 8 seconds and longer when it needs firmware first. False when
    /// there is none or the person gave up waiting.
    bool Open(WakePipe& events, std::chrono::milliseconds limit = kOpenLimit);
    /// As Open, but a missing camera is an error of its own exit code.
    void MustOpen(WakePipe& events);

    ICameraSubject* operator->() { return m_camera; }
    ICameraSubject& Camera() { return *m_camera; }

    /// A firmware image may be burnt meanwhile, which alone may take 30 s.
    static constexpr std::chrono::milliseconds kOpenLimit{180000};

private:
    const Library& m_library;
    ICameraSubject* m_camera;
};

}  // namespace host

#endif
