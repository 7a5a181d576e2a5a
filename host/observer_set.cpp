#include "host/observer_set.h"

namespace host {

ObserverSet::ObserverSet(FrameQueue& queue, FrameList* list)
{
    for (const StreamInfo& info : kStreams) {
        m_observers.emplace_back(info, queue, list);
    }
}

void ObserverSet::Register(ICameraSubject& camera)
{
    for (FrameObserver& observer : m_observers) {
        camera.RegisterObserver(&observer);
    }
}

void ObserverSet::Remove(ICameraSubject& camera)
{
    for (FrameObserver& observer : m_observers) {
        camera.RemoveObserver(&observer);
    }
}

}  // namespace host
