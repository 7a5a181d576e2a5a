// The host's receiver of frames.
#ifndef TORVIK_API_CAMERA_OBSERVER_H
#define TORVIK_API_CAMERA_OBSERVER_H

#include <cstddef>

#include "api/camera_data.h"

/// Implemented by the host, called by the driver. The host owns the object and
/// must keep it alive until RemoveObserver has returned.
///
/// OnFrame runs on a capture thread of the driver (video streams on one, PCM on
/// another) with the lock of its observer list held. It must return quickly:
/// five video frames of slack exist before the camera is held back, and four
/// audio chunks before audio is dropped. Inside OnFrame a host must not
///  - register or remove observers,
///  - call recording or property operations (the stop joins this very thread),
///  - destroy the camera.
class ICameraObserver {
public:
    virtual ~ICameraObserver() = default;

    /// One frame of the stream named by `stream`. The result of PCM observers
    /// is handed back to the audio thread (last observer wins); all other
    /// results are ignored.
    virtual int OnFrame(const CCameraData* data) = 0;

    int reserved = 0;                    ///< never touched by the driver
    CAM_STREAM stream = CAM_STREAM_PCM;  ///< set before RegisterObserver, constant while registered
};

#endif
