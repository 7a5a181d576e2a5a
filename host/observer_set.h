// One observer for every stream of the camera.
#ifndef TORVIK_HOST_OBSERVER_SET_H
#define TORVIK_HOST_OBSERVER_SET_H

#include <list>

#include "api/camera_subject.h"
#include "host/frame_observer.h"
#include "host/frame_queue.h"

namespace host {

/// Must outlive the camera object that it was registered with.
class ObserverSet {
public:
    /// `list`: where frames are listed, null for nowhere.
    explicit ObserverSet(FrameQueue& queue, FrameList* list = nullptr);

    void Register(ICameraSubject& camera);
    void Remove(ICameraSubject& camera);
    const std::list<FrameObserver>& List() const { return m_observers; }

private:
    std::list<FrameObserver> m_observers;  ///< a list, because their addresses are registered
};

}  // namespace host

#endif
