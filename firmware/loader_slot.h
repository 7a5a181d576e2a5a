// The camera object's one firmware loader.
#ifndef TORVIK_FIRMWARE_LOADER_SLOT_H
#define TORVIK_FIRMWARE_LOADER_SLOT_H

#include <memory>
#include <vector>

#include "firmware/firmware_loader.h"
#include "runtime/mutex.h"

/// Owns the current loader. Any thread may call, the loader's own included: a
/// host that wants to try again calls Init from the completion call-back, which
/// runs on the loader that is to be replaced. Such a loader is told to stop and
/// kept until its thread has ended.
class FirmwareLoaderSlot
{
public:
    FirmwareLoaderSlot() = default;
    /// Waits for every loader.
    ~FirmwareLoaderSlot() { StopAndDelete(); }
    FirmwareLoaderSlot(const FirmwareLoaderSlot&) = delete;
    FirmwareLoaderSlot& operator=(const FirmwareLoaderSlot&) = delete;

    /// Replaces the loader by a new one and starts that; nothing after
    /// StopAndDelete.
    void Restart(ICameraSubject* camera, CCameraFwLoader::Callback callback, void* context);
    void StopAndDelete();
    /// CCameraFwLoader::GetCamVersion; 0 without a loader.
    int CamVersion();

private:
    using Loader = std::unique_ptr<CCameraFwLoader>;

    void Retire(Loader loader);

    pMutex m_lock;
    Loader m_current;                ///< guarded by m_lock
    std::vector<Loader> m_retired;   ///< guarded by m_lock; told to stop
    bool m_closed = false;           ///< guarded by m_lock
};

#endif
