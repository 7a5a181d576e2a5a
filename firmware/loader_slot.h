// The camera object's firmware loaders.
#ifndef TORVIK_FIRMWARE_LOADER_SLOT_H
#define TORVIK_FIRMWARE_LOADER_SLOT_H

#include <memory>

#include "firmware/firmware_loader.h"
#include "runtime/mutex.h"
#include "runtime/sync_event.h"

/// Owns the newest loader, and those before it until they are over. Any thread
/// may call, a loader's own included: a host that wants to try again calls Init
/// from the completion call-back, which runs on the loader that is to be
/// replaced. Every loader stays in the list for as long as its thread lives, so
/// that there is none that nobody knows of.
class FirmwareLoaderSlot
{
public:
    FirmwareLoaderSlot();
    /// Waits for every loader.
    ~FirmwareLoaderSlot();
    FirmwareLoaderSlot(const FirmwareLoaderSlot&) = delete;
    FirmwareLoaderSlot& operator=(const FirmwareLoaderSlot&) = delete;

    /// Starts a loader once the newest one is over, which is asked to stop. On
    /// that loader's own thread it gives its device back at once and is waited
    /// for by nobody. When somebody else has started another one meanwhile, that
    /// one stands. Nothing after StopAndDelete.
    ///
    /// @return false when the system has no thread or no memory for a loader
    bool Restart(ICameraSubject* camera, CCameraFwLoader::Callback callback, void* context)
        EXCLUDES(m_lock);
    /// Ends every loader. Returns when their threads have ended and no thread is
    /// inside Restart.
    void StopAndDelete() EXCLUDES(m_lock);
    /// CCameraFwLoader::GetCamVersion of the newest loader; 0 without one.
    int CamVersion() EXCLUDES(m_lock);

private:
    class Worker;

    bool StartNext(ICameraSubject* camera, CCameraFwLoader::Callback callback, void* context)
        REQUIRES(m_lock);
    void WaitUntilOver(Worker& worker) REQUIRES(m_lock);
    void FreeThoseOver() REQUIRES(m_lock);
    void Sleep() REQUIRES(m_lock);
    void WakeSleepers() REQUIRES(m_lock);
    void OnOver(Worker& worker) EXCLUDES(m_lock);
    /// For StopAndDelete: once the slot is closed the list stays as it is.
    Worker* NewestOfClosed() const NO_THREAD_SAFETY_ANALYSIS { return m_newest.get(); }

    pMutex m_lock;
    pSyncEvent m_changed;
    /// Head of the list.
    std::unique_ptr<Worker> m_newest GUARDED_BY(m_lock) PT_GUARDED_BY(m_lock);
    int m_sleepers GUARDED_BY(m_lock) = 0;  ///< threads that wait on m_changed
    int m_restarts GUARDED_BY(m_lock) = 0;  ///< threads inside Restart
    bool m_closed GUARDED_BY(m_lock) = false;
};

#endif
