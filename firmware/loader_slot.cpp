#include "firmware/loader_slot.h"

#include <algorithm>
#include <iterator>
#include <utility>

void FirmwareLoaderSlot::Restart(ICameraSubject* camera, CCameraFwLoader::Callback callback,
                                 void* context)
{
    // Two threads may be here at once: the old loader is gone, and with it its
    // hold on the devices, before the new one starts.
    for (;;) {
        Loader old;
        {
            const MutexGuard guard(m_lock);
            if (m_closed)
                return;
            if (m_current == nullptr) {
                m_current = std::make_unique<CCameraFwLoader>(camera, callback, context);
                m_current->Start(nullptr);
                return;
            }
            old = std::move(m_current);
        }
        Retire(std::move(old));
    }
}

/// Ends a loader, or puts it aside when that is the calling thread, and frees
/// those put aside before. Not under the lock: freeing waits for a thread that
/// may be about to call back.
void FirmwareLoaderSlot::Retire(Loader loader)
{
    std::vector<Loader> finished;
    {
        const MutexGuard guard(m_lock);
        const auto first_finished =
            std::partition(m_retired.begin(), m_retired.end(),
                           [](const Loader& retired) { return !retired->HasFinished(); });
        std::move(first_finished, m_retired.end(), std::back_inserter(finished));
        m_retired.erase(first_finished, m_retired.end());
        if (loader != nullptr && loader->IsCurrentThread()) {
            loader->Stop();
            m_retired.push_back(std::move(loader));
        }
    }
}

void FirmwareLoaderSlot::StopAndDelete()
{
    Loader current;
    std::vector<Loader> retired;
    {
        const MutexGuard guard(m_lock);
        m_closed = true;
        current.swap(m_current);
        retired.swap(m_retired);
    }
    // Here their threads end; one of them may still ask for a restart.
}

int FirmwareLoaderSlot::CamVersion()
{
    const MutexGuard guard(m_lock);
    return m_current != nullptr ? m_current->GetCamVersion() : 0;
}
