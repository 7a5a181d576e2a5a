#include "host/camera_session.h"

#include "host/host_error.h"

namespace host {
namespace {

/// On the driver's loader thread. The driver hands no context over, hence the
/// process-wide pipe.
void OnInitDone(bool ready)
{
    WakePipe::Post(ready ? Event::kReady : Event::kLost);
}

}  // namespace

CameraSession::CameraSession(const Library& library)
    : m_library(library), m_camera(library.create())
{
}

CameraSession::~CameraSession()
{
    m_library.destroy(m_camera);
}

bool CameraSession::Open(WakePipe& events, std::chrono::milliseconds limit)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + limit;
    m_camera->Init(OnInitDone, 0);
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        switch (events.Wait(left)) {
        case Event::kReady:
            return true;
        case Event::kWriter:
            break;
        default:
            return false;
        }
    }
}

void CameraSession::MustOpen(WakePipe& events)
{
    if (!Open(events)) {
        throw HostError(kExitNoCamera, events.Interrupted()
                                           ? "interrupted before the camera was ready"
                                           : "no camera found");
    }
}

}  // namespace host
