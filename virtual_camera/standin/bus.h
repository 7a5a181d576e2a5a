// The simulated bus behind the libusb stand-in: what is plugged in, and what a
// test wants to see and to disturb of the traffic. One bus per process; every
// operation may be called from any thread.
#ifndef VIRTUAL_CAMERA_STANDIN_BUS_H
#define VIRTUAL_CAMERA_STANDIN_BUS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "virtual_camera/standin/call.h"
#include "virtual_camera/usb_device.h"

struct libusb_version;

#define VCAM_STANDIN_API __attribute__((visibility("default")))

namespace vcam::standin {

struct AttachOptions {
    /// Every interface starts with a kernel driver on it, as a class device
    /// does on a desktop system.
    bool kernel_drivers = false;
};

/// What the process has open now. A driver that cleaned up leaves all zero.
struct Counters {
    int contexts = 0;
    int handles = 0;
    int claimed_interfaces = 0;  ///< on open handles
    int transfers = 0;           ///< allocated and not freed
    int transfers_in_flight = 0;
    int device_references = 0;   ///< of lists, handles and libusb_ref_device
    int device_lists = 0;
    int config_descriptors = 0;

    VCAM_STANDIN_API bool AllZero() const;
    VCAM_STANDIN_API std::string ToString() const;
};

class Core;

class VCAM_STANDIN_API Bus {
public:
    static Bus& Instance();

    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// Plugs a device in; it shows in device lists while it says Attached().
    void Attach(std::shared_ptr<UsbDevice> device, AttachOptions options = {});
    /// Unplugs: transfers complete with NO_DEVICE, calls fail with it.
    void Detach(const std::shared_ptr<UsbDevice>& device);
    void DetachAll();
    /// Stops PopulateBus from being called, for tests that want an empty bus.
    void MarkConfigured();

    /// What libusb_get_version answers: 1.0.`micro`.`nano`. Real releases have a
    /// nano above 0; this one starts, and starts over, with 1.0.26.0.
    void SetVersion(std::uint16_t micro, std::uint16_t nano);
    const libusb_version* Version() const;

    /// @name What is left open, what was done wrong
    /// @{
    standin::Counters Counters() const;
    /// One line per wrong use of libusb, such as freeing a submitted transfer.
    std::vector<std::string> Misuse() const;
    void ClearMisuse();
    /// @}

    /// @name Seeing calls
    /// Calls that the stand-in makes inside itself are not counted.
    /// @{
    /// Calls of a function since the process began or ResetCallCounts.
    std::size_t CallCount(const std::string& function) const;
    void ResetCallCounts();
    /// Waits until the function has been called `count` times.
    bool WaitForCalls(const std::string& function, std::size_t count,
                      std::chrono::milliseconds limit) const;
    /// Starts recording calls; those that only handle events are left out
    /// unless asked for.
    void EnableCallLog(bool with_event_calls = false);
    void DisableCallLog();
    void ClearCallLog();
    std::vector<Call> CallLog() const;
    /// Names of all functions that can be counted, failed and hooked.
    static std::vector<std::string> Functions();
    /// @}

    /// @name Disturbing calls
    /// `nth` counts matching calls from the moment the rule is set, from 1;
    /// 0 means every one.
    /// @{
    /// The call fails with a libusb error code and has no effect. Functions
    /// that return a pointer return null.
    void FailCall(const std::string& function, std::size_t nth, int code,
                  CallPredicate matches = {});
    /// A synchronous control request moves at most `bytes` bytes.
    void ShortenControlReply(std::size_t nth, std::size_t bytes, CallPredicate matches = {});
    /// A submitted transfer completes differently; the call that submits it is matched.
    void OverrideCompletion(std::size_t nth, CompletionOverride result, CallPredicate matches = {});
    void ClearRules();

    /// Calls `hook` on the calling thread, without any lock, before or after
    /// each call of the function. A hook may block: that holds the caller at
    /// this point. The result names the hook for RemoveHook.
    int OnCall(const std::string& function, When when, CallHook hook);
    void RemoveHook(int id);
    /// @}

    /// Unplugs everything and forgets rules, hooks, log, counts and misuse.
    void Reset();

private:
    friend class Core;
    Bus();
    ~Bus() = delete;

    Core& m_core;
};

/// Called at the first libusb_init when nobody plugged anything in before.
/// Defined once, in populate_bus.cpp; there is an empty one for want of it.
void PopulateBus(Bus& bus);

}  // namespace vcam::standin

#endif
