// The one bus of the process and everything that libusb's users hold of it.
#ifndef VIRTUAL_CAMERA_STANDIN_CORE_H
#define VIRTUAL_CAMERA_STANDIN_CORE_H

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

#include "virtual_camera/standin/bus.h"
#include "virtual_camera/standin/objects.h"
#include "virtual_camera/standin/trace.h"

namespace vcam::standin {

using Lock = std::unique_lock<std::mutex>;

/// Locks: Core::Mutex() is taken before the leaves (trace, misuse, wake
/// counters, a context's waiters_lock). A context's events_lock is taken before
/// all of them. No lock but the events_lock is held while user code runs.
class Core {
public:
    static Core& Get();

    /// Guards every object of objects.h and serialises the devices' calls.
    std::mutex& Mutex() { return m_mutex; }
    Trace& Calls() { return m_trace; }

    // The bus.
    void Attach(std::shared_ptr<UsbDevice> device, AttachOptions options);
    void Detach(const UsbDevice* device);
    void DetachAll();
    void MarkConfigured();
    void PopulateOnce();
    Counters Count() const;
    std::vector<std::string> Misuse() const;
    void ClearMisuse();
    void ReportMisuse(std::string text);

    // Contexts. `context` null means the default one; the result is null, with
    // a report, when it is not open.
    libusb_context* Open(bool as_default);
    void Close(libusb_context* context);
    libusb_context* Resolve(libusb_context* context, const char* function);

    // Devices and handles; Mutex() is held.
    std::vector<libusb_device*> ListDevices(libusb_context* context);
    void Reference(libusb_device* device);
    void Unreference(libusb_device* device, const char* function);
    libusb_device_handle* OpenDevice(libusb_device* device);
    void CloseHandle(libusb_device_handle* handle);
    /// False, with a report, when the handle was closed.
    bool CheckOpen(const libusb_device_handle* handle, const char* function);
    /// Notices what was plugged in or out.
    void Refresh(TimeUs now);

    // Transfers.
    libusb_transfer* Allocate(int iso_packets, bool internal);
    void Free(libusb_transfer* transfer);
    int Submit(libusb_transfer* transfer, std::optional<CompletionOverride> override_result);
    int Cancel(libusb_transfer* transfer);
    /// The next transfer whose call-back is due, among those submitted up to
    /// `limit`; without one, `next` becomes the time to ask again at the latest.
    Transfer* TakeCompletion(libusb_context* context, std::uint64_t limit, TimeUs& next);
    std::uint64_t LastSequence();

    /// Wakes every event handler.
    void WakeAll();

    /// A request that the operating system makes by itself, outside any event
    /// pass: waits while the device is not ready. `lock` holds Mutex().
    TransferStatus CallDevice(Lock& lock, const std::shared_ptr<Connection>& connection,
                              const std::function<TransferResult(UsbDevice&, TimeUs)>& request);
    /// Gives an interface back; a streaming one returns to its idle setting.
    void ReleaseInterface(Connection& connection, Interface& interface);

    int device_lists = 0;        ///< guarded by Mutex()
    int config_descriptors = 0;  ///< guarded by Mutex()

private:
    struct Slot {
        std::shared_ptr<UsbDevice> device;
        AttachOptions options;
        std::shared_ptr<Connection> connection;
    };

    Core() = default;

    void Unplug(Slot& slot);
    void Finish(Transfer& transfer, libusb_transfer_status status, std::size_t length);
    void Drop(Transfer& transfer);
    bool Attempt(Transfer& transfer, TimeUs now, TimeUs& next);
    bool AskDevice(Transfer& transfer, TimeUs now, TimeUs& next);
    void ServeOtherContexts(const Transfer& transfer, TimeUs now, TimeUs& next);

    std::mutex m_mutex;
    bool m_configured = false;
    std::vector<Slot> m_slots;
    std::uint8_t m_last_address = 0;
    std::uint64_t m_last_sequence = 0;
    libusb_context* m_default_context = nullptr;
    std::vector<std::unique_ptr<libusb_context>> m_contexts;
    std::vector<std::unique_ptr<libusb_device>> m_devices;
    std::vector<std::unique_ptr<libusb_device_handle>> m_handles;
    std::unordered_set<libusb_transfer*> m_transfers;  ///< allocated, internal ones too

    Trace m_trace;

    mutable std::mutex m_misuse_mutex;  // a leaf
    std::vector<std::string> m_misuse;

    WakeCounter m_direct_wake;  ///< of CallDevice
    std::mutex m_wake_mutex;    // taken before the wake counters only
    std::vector<libusb_context*> m_wake_targets;
};

/// The private half of a transfer and back.
Transfer& Private(libusb_transfer* transfer);
libusb_transfer* Public(Transfer& transfer);

/// Event handling of libusb_handle_events* until `done` or the deadline.
int HandleOrWait(libusb_context* context, TimeUs deadline, const std::function<bool()>& done);
int HandleLocked(libusb_context* context, TimeUs deadline);
int TryLockEvents(libusb_context* context);
void LockEvents(libusb_context* context);
void UnlockEvents(libusb_context* context);
bool InsidePass(const libusb_context* context);

}  // namespace vcam::standin

#endif
