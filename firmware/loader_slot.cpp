#include "firmware/loader_slot.h"

#include <new>
#include <utility>

/// A loader in the list. The slot's lock guards the public members: nobody finds
/// a loader but through the list, whose head says so.
class FirmwareLoaderSlot::Worker : public CCameraFwLoader
{
public:
    Worker(FirmwareLoaderSlot& slot, ICameraSubject* camera, Callback callback, void* context)
        : CCameraFwLoader(camera, callback, context), m_slot(slot)
    {
    }
    ~Worker() override { Stop(); }

    void Run() override
    {
        CCameraFwLoader::Run();
        m_slot.OnOver(*this);
    }

    using CCameraFwLoader::GiveDeviceBack;
    using CCameraFwLoader::RequestStop;

    std::unique_ptr<Worker> older;
    bool over = false;  ///< its thread will touch nothing any more
    int waiters = 0;    ///< threads that look at it still

private:
    FirmwareLoaderSlot& m_slot;
};

FirmwareLoaderSlot::FirmwareLoaderSlot() = default;

FirmwareLoaderSlot::~FirmwareLoaderSlot()
{
    StopAndDelete();
}

bool FirmwareLoaderSlot::Restart(ICameraSubject* camera, CCameraFwLoader::Callback callback,
                                 void* context)
{
    const MutexGuard guard(m_lock);
    ++m_restarts;
    Worker* const found = m_newest.get();
    if (found != nullptr && !m_closed) {
        found->RequestStop();
        if (found->IsCurrentThread())
            found->GiveDeviceBack();
        else
            WaitUntilOver(*found);
    }
    const bool superseded = m_newest.get() != found;
    const bool done = m_closed || superseded || StartNext(camera, callback, context);
    --m_restarts;
    WakeSleepers();
    return done;
}

bool FirmwareLoaderSlot::StartNext(ICameraSubject* camera, CCameraFwLoader::Callback callback,
                                   void* context)
{
    FreeThoseOver();
    std::unique_ptr<Worker> worker(new (std::nothrow) Worker(*this, camera, callback, context));
    if (worker == nullptr || worker->Start(nullptr) != 0)
        return false;
    worker->older = std::move(m_newest);
    m_newest = std::move(worker);
    WakeSleepers();
    return true;
}

/// Or until there is a newer one. Its own call-back may start that, and then it
/// has given its device back.
void FirmwareLoaderSlot::WaitUntilOver(Worker& worker)
{
    ++worker.waiters;
    while (!m_closed && !worker.over && m_newest.get() == &worker)
        Sleep();
    --worker.waiters;
}

void FirmwareLoaderSlot::FreeThoseOver()
{
    std::unique_ptr<Worker>* link = &m_newest;
    while (*link != nullptr) {
        if ((*link)->over && (*link)->waiters == 0)
            *link = std::move((*link)->older);
        else
            link = &(*link)->older;
    }
}

void FirmwareLoaderSlot::Sleep()
{
    ++m_sleepers;
    m_changed.Wait(m_lock, -1);
    --m_sleepers;
}

/// A trigger wakes one of them.
void FirmwareLoaderSlot::WakeSleepers()
{
    for (int i = 0; i < m_sleepers; ++i)
        m_changed.Trigger(m_lock);
}

/// On the worker's thread, last of all.
void FirmwareLoaderSlot::OnOver(Worker& worker)
{
    const MutexGuard guard(m_lock);
    worker.over = true;
    WakeSleepers();
}

void FirmwareLoaderSlot::StopAndDelete()
{
    {
        const MutexGuard guard(m_lock);
        m_closed = true;
        for (Worker* worker = m_newest.get(); worker != nullptr; worker = worker->older.get())
            worker->RequestStop();
        WakeSleepers();
    }
    // Without the lock, which their call-backs take.
    for (Worker* worker = NewestOfClosed(); worker != nullptr; worker = worker->older.get())
        worker->Stop();

    std::unique_ptr<Worker> loaders;
    const MutexGuard guard(m_lock);
    while (m_restarts != 0)
        Sleep();
    loaders = std::move(m_newest);
}

int FirmwareLoaderSlot::CamVersion()
{
    const MutexGuard guard(m_lock);
    return m_newest != nullptr ? m_newest->GetCamVersion() : 0;
}
