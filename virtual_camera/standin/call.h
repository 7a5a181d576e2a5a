// One call into the libusb stand-in, as rules, hooks and the call log see it.
#ifndef VIRTUAL_CAMERA_STANDIN_CALL_H
#define VIRTUAL_CAMERA_STANDIN_CALL_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "virtual_camera/usb_device.h"

namespace vcam::standin {

/// Fields that a function has no use for stay zero.
struct Call {
    std::uint64_t number = 0;  ///< position in the log, from 1
    std::string function;      ///< "libusb_open", ...; "completion" for a transfer's call-back
    std::thread::id thread;
    TimeUs entered = 0;
    TimeUs returned = 0;  ///< 0 while the call is under way
    long result = 0;      ///< libusb's result; for calls that return a pointer 0 or -1
    bool failed_by_rule = false;

    const void* handle = nullptr;  ///< device handle
    const void* transfer = nullptr;
    std::uint16_t vendor_id = 0;
    std::uint16_t product_id = 0;
    int interface_number = 0;
    int value = 0;  ///< alternate setting, configuration, time-out of event calls in ms
    std::uint8_t endpoint = 0;
    std::uint8_t transfer_type = 0;  ///< a libusb_transfer_type
    SetupPacket setup{};             ///< of control requests
    std::size_t length = 0;
    unsigned timeout_ms = 0;
    int iso_packets = 0;
    int status = 0;                      ///< "completion": the libusb_transfer_status
    std::size_t actual_length = 0;       ///< "completion" and synchronous bulk transfers
    std::vector<std::uint8_t> data;      ///< bytes sent, of OUT transfers
    std::vector<std::uint8_t> received;  ///< bytes that a synchronous IN transfer returned
};

using CallPredicate = std::function<bool(const Call&)>;
using CallHook = std::function<void(const Call&)>;
enum class When { kBefore, kAfter };

/// How a submitted transfer is to end instead of how the device would end it.
struct CompletionOverride {
    int status = 0;  ///< a libusb_transfer_status
    /// Absent: what the device gave. Isochronous transfers ignore it.
    std::optional<std::size_t> actual_length = std::nullopt;
    /// True: the device serves the transfer first, then the result is
    /// replaced. False: the transfer completes at once without the device.
    bool ask_device = false;
    /// Bytes put into the buffer of an IN transfer when the device is not asked.
    std::vector<std::uint8_t> data = {};
};

}  // namespace vcam::standin

#endif
