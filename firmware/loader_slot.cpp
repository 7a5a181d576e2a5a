#include "firmware/loader_slot.h"

#include <algorithm>
#include <iterator>
#include <utility>

void FirmwareLoaderSlot::Restart(ICameraSubject* camera, CCameraFwLoader::Callback callback,
                                 void* context)
{
    Loader old;
    {
        const MutexGuard guard(m_lock);
        old = std::move(m_current);
    }
    Retire(std::move(old));

    auto fresh = std::make_unique<CCameraFwLoader>(camera, callback, context);
    {
        const MutexGuard guard(m_lock);
        old = std::move(m_current);  // another thread may have been here meanwhile
        m_current = std::move(fresh);
        m_current->Start(nullptr);
    }
    Retire(std::move(old));
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
    // Again, as long as a loader that is being waited for puts another in its
    // place from the call-back.
    for (;;) {
        Loader current;
        std::vector<Loader> retired;
        {
            const MutexGuard guard(m_lock);
            if (m_current == nullptr && m_retired.empty())
                return;
            current.swap(m_current);
            retired.swap(m_retired);
        }
    }
}

int FirmwareLoaderSlot::CamVersion()
{
    const MutexGuard guard(m_lock);
    return m_current != nullptr ? m_current->GetCamVersion() : 0;
}
