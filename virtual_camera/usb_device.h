// The border between a simulated USB device and whatever carries it: the
// libusb stand-in inside a process, or a server that feeds a kernel's virtual
// host controller.
#ifndef VIRTUAL_CAMERA_USB_DEVICE_H
#define VIRTUAL_CAMERA_USB_DEVICE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace vcam {

/// Microseconds of a monotonic clock. Carriers pass the time in, so that a
/// device can be paced by any clock.
using TimeUs = std::uint64_t;
constexpr TimeUs kNever = ~TimeUs{0};

/// Setup stage of a control transfer (USB 2.0, 9.3), in host byte order.
struct SetupPacket {
    std::uint8_t request_type;
    std::uint8_t request;
    std::uint16_t value;
    std::uint16_t index;
    std::uint16_t length;
};

/// How a transfer ends at USB level.
enum class TransferStatus {
    kCompleted,
    kStall,
    kNotReady,  ///< the device answers NAK; ask again at `ready_at` or after a wake-up
    kTimeout,   ///< a fault: the carrier lets the transfer run into its time limit
    kOverflow,
    kError,
    kNoDevice,
};

struct TransferResult {
    TransferStatus status = TransferStatus::kCompleted;
    std::size_t length = 0;     ///< bytes moved
    TimeUs ready_at = kNever;   ///< with kNotReady: when to ask again
};

/// One packet of an isochronous IN transfer. `capacity` and `data` are given,
/// the rest is filled in.
struct IsoPacket {
    unsigned char* data;
    std::size_t capacity;
    std::size_t length;
    TransferStatus status;
};

/// A simulated device. All calls on one device are serialised by its carrier;
/// none blocks. Wake-ups may come from any thread.
class UsbDevice {
public:
    virtual ~UsbDevice() = default;

    /// Device descriptor, 18 bytes (USB 2.0, 9.6.1).
    virtual std::vector<std::uint8_t> DeviceDescriptor() const = 0;
    /// The only configuration with everything under it (USB 2.0, 9.6.3).
    virtual std::vector<std::uint8_t> ConfigurationDescriptor() const = 0;
    /// String descriptor `index`, empty when there is none (USB 2.0, 9.6.7).
    virtual std::vector<std::uint8_t> StringDescriptor(std::uint8_t index) const = 0;

    /// False while the device is off the bus.
    virtual bool Attached(TimeUs now) = 0;
    /// Counts the times it was plugged in. A handle opened in an earlier
    /// session stays dead, although the device is back.
    virtual unsigned Session(TimeUs /*now*/) { return 0; }

    /// Any control request but those of chapter 9, which the carrier answers
    /// with the calls of this class. `data` has setup.length bytes, in either
    /// direction. kNotReady delays the answer.
    virtual TransferResult Control(const SetupPacket& setup, unsigned char* data, TimeUs now) = 0;
    virtual TransferResult SetAlternateSetting(unsigned interface, unsigned setting, TimeUs now) = 0;
    virtual TransferResult ClearHalt(std::uint8_t endpoint, TimeUs now) = 0;

    /// One bulk IN transfer of up to `capacity` bytes.
    virtual TransferResult BulkIn(std::uint8_t endpoint, unsigned char* data, std::size_t capacity,
                                  TimeUs now) = 0;
    virtual TransferResult BulkOut(std::uint8_t endpoint, const unsigned char* data,
                                   std::size_t length, TimeUs now) = 0;
    /// One isochronous IN transfer: `count` packets at once. kNotReady until
    /// the last packet's time has come.
    virtual TransferResult IsoIn(std::uint8_t endpoint, IsoPacket* packets, std::size_t count,
                                 TimeUs now) = 0;
    /// The host gave up transfers on this endpoint (cancel, close).
    virtual void Cancelled(std::uint8_t endpoint, TimeUs now) = 0;

    /// Called by the device, without its locks, when something changed outside
    /// a carrier's call: it became ready, was plugged in or out.
    void SetWakeUp(std::function<void()> wake_up) { m_wake_up = std::move(wake_up); }

protected:
    void WakeUp() const
    {
        if (m_wake_up)
            m_wake_up();
    }

private:
    std::function<void()> m_wake_up;
};

}  // namespace vcam

#endif
