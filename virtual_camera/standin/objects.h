// What libusb's opaque types are made of. All fields are guarded by
// Core::Mutex() unless they say otherwise.
#ifndef VIRTUAL_CAMERA_STANDIN_OBJECTS_H
#define VIRTUAL_CAMERA_STANDIN_OBJECTS_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "virtual_camera/default_pipe.h"
#include "virtual_camera/standin/call.h"
#include "virtual_camera/standin/clock.h"
#include "virtual_camera/standin/libusb_abi.h"
#include "virtual_camera/usb_device.h"

namespace vcam::standin {

struct Transfer;

struct Endpoint {
    std::uint8_t address;
    std::uint8_t attributes;
    std::uint16_t max_packet_size;
    unsigned interface_number;
    unsigned setting;
};

struct Interface {
    unsigned number;
    bool kernel_driver = false;
    libusb_device_handle* claimed_by = nullptr;
};

/// One stay of a device on the bus, from plug to unplug. A device that comes
/// back makes a new one.
struct Connection {
    std::shared_ptr<UsbDevice> device;  ///< null once gone
    bool gone = false;
    unsigned session = 0;  ///< UsbDevice::Session when it was plugged in
    std::uint8_t address = 0;
    std::optional<DefaultPipe> default_pipe;  ///< always there; asks no device that is gone
    std::vector<std::uint8_t> device_descriptor;
    std::vector<std::uint8_t> config_descriptor;
    std::vector<Interface> interfaces;
    std::vector<Endpoint> endpoints;
    /// Unfinished transfers in order of submission, by endpoint address.
    std::map<std::uint8_t, std::vector<Transfer*>> queues;

    Interface* FindInterface(int number);
    const Endpoint* FindEndpoint(std::uint8_t address) const;
    /// As FindEndpoint, but in the current alternate settings.
    const Endpoint* FindActiveEndpoint(std::uint8_t address) const;
};

/// Reads both descriptors of the device.
std::shared_ptr<Connection> Connect(const std::shared_ptr<UsbDevice>& device, std::uint8_t address,
                                    bool kernel_drivers);

/// The private half of a transfer; libusb_transfer follows it in memory.
struct Transfer {
    libusb_context* context = nullptr;
    libusb_device_handle* handle = nullptr;
    std::shared_ptr<Connection> connection;
    std::size_t iso_capacity = 0;
    bool internal = false;   ///< of a synchronous call; not counted
    bool in_flight = false;  ///< submitted, call-back not yet due
    bool finished = false;   ///< in flight with a result, waiting for an event pass
    bool stuck = false;      ///< the device keeps silent until the time limit
    std::uint64_t sequence = 0;
    TimeUs deadline = kNever;
    libusb_transfer_status status = LIBUSB_TRANSFER_COMPLETED;
    std::size_t actual_length = 0;
    std::optional<CompletionOverride> override_result;
    std::vector<IsoPacket> iso_packets;  ///< scratch for the device's call
};

}  // namespace vcam::standin

/// Contexts, devices and handles stay in memory after their end, so that a
/// stale pointer is recognised instead of followed into freed memory.
struct libusb_context {
    bool open = true;
    int default_users = 0;  ///< of the default context
    std::vector<libusb_device*> devices;
    std::vector<vcam::standin::Transfer*> flying;  ///< in order of submission

    /// What an event handler sleeps on; not guarded by Core's lock.
    vcam::standin::WakeCounter wake;
    std::atomic<bool> interrupted{false};

    /// Only the thread that holds it handles events.
    std::mutex events_lock;
    std::atomic<bool> handler_active{false};
    std::atomic<std::thread::id> handler{};
    std::atomic<std::thread::id> pass{};  ///< the thread that is inside an event pass
    std::atomic<int> closing{0};          ///< threads that want the events lock to close a handle

    /// Threads that leave the events to another one wait here.
    std::mutex waiters_lock;
    vcam::standin::MonotonicCondition waiters;
};

struct libusb_device {
    libusb_context* context;
    std::shared_ptr<vcam::standin::Connection> connection;
    int references = 0;
};

struct libusb_device_handle {
    libusb_device* device;
    libusb_context* context;
    bool open = true;
    bool auto_detach = false;
    bool told_gone = false;  ///< a call or a completion has said "no device"
};

#endif
