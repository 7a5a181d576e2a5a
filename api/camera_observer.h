/// @file
/// The host's receiver of frames.
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
///  - call recording, property or capability operations (the stop holds their
///    lock and waits for this very thread),
///  - wait for a host thread that is inside one of those,
///  - hand in frames of its own with OnFrameArrival,
///  - destroy the camera,
///  - throw.
class ICameraObserver {
public:
    virtual ~ICameraObserver() = default;

    /// One frame of the stream named by `stream`.
    ///
    /// @param data  the driver's, readable until OnFrame returns
    /// @return any number; nothing depends on it. The last PCM observer's comes
    ///         back from ICameraSubject::OnFrameArrival.
    virtual int OnFrame(const CCameraData* data) = 0;

    int reserved = 0;                    ///< never touched by the driver
    CAM_STREAM stream = CAM_STREAM_PCM;  ///< set before RegisterObserver, constant while registered
};

#endif
