// A USB device that does what a test tells it and remembers what it was sent.
// It is never ready unless something is queued.
#ifndef TESTS_SUPPORT_SCRIPTED_DEVICE_H
#define TESTS_SUPPORT_SCRIPTED_DEVICE_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include "tests/support/wait_until.h"
#include "virtual_camera/usb_device.h"

namespace test_support {

using Bytes = std::vector<std::uint8_t>;

/// Which interfaces the device has. All have a control interface 0.
enum class Layout {
    kCamera,         ///< bulk video on 1 (0x81), audio on 2 and 3 (0x82, setting 1), bulk OUT 0x01 on 4
    kBootLoader,     ///< vendor interface 2 with bulk OUT 0x01
    kBootLoaderUvc,  ///< interface 0 only
};

/// Something the device was sent.
struct Received {
    enum Kind { kControl, kBulkOut, kSetting, kClearHalt, kCancelled };
    Kind kind = kControl;
    vcam::SetupPacket setup{};     ///< kControl
    Bytes data;                    ///< what came with kControl and kBulkOut
    std::uint8_t endpoint = 0;     ///< kBulkOut, kClearHalt, kCancelled
    unsigned interface_number = 0; ///< kSetting
    unsigned setting = 0;          ///< kSetting
};

struct ControlReply {
    Bytes data;  ///< of IN requests; cut to the length asked for
    vcam::TransferStatus status = vcam::TransferStatus::kCompleted;
    /// Bytes the device takes of an OUT request; absent: all.
    std::optional<std::size_t> accepted = std::nullopt;
};

struct ScriptedPacket {
    Bytes data = {};
    vcam::TransferStatus status = vcam::TransferStatus::kCompleted;
};

class ScriptedDevice : public vcam::UsbDevice {
public:
    explicit ScriptedDevice(Layout layout = Layout::kCamera);
    ScriptedDevice(Layout layout, std::uint16_t vendor_id, std::uint16_t product_id);

    /// One transfer of an IN endpoint: these bytes, ended in this way.
    void QueueIn(std::uint8_t endpoint, Bytes data,
                 vcam::TransferStatus status = vcam::TransferStatus::kCompleted);
    /// One isochronous transfer; packets beyond the list are empty.
    void QueueIso(std::uint8_t endpoint, std::vector<ScriptedPacket> packets,
                  vcam::TransferStatus status = vcam::TransferStatus::kCompleted);
    /// Serves an IN endpoint instead of the queue. Runs with the bus locked.
    using Source = std::function<vcam::TransferResult(unsigned char* data, std::size_t capacity)>;
    void SetSource(std::uint8_t endpoint, Source source);
    /// Transfers queued and not yet taken.
    std::size_t Queued(std::uint8_t endpoint) const;
    bool WaitDrained(std::uint8_t endpoint, std::chrono::milliseconds limit = kPatience) const;

    /// Answers a control request, always or (`QueueReply`) once, oldest first.
    /// Requests without an answer: OUT is accepted, IN stalls.
    void SetReply(std::uint8_t request_type, std::uint8_t request, std::uint16_t value,
                  std::uint16_t index, ControlReply reply);
    void QueueReply(std::uint8_t request_type, std::uint8_t request, std::uint16_t value,
                    std::uint16_t index, ControlReply reply);
    /// While held, the device answers no control request; they wait.
    void HoldControls(bool hold);

    /// The answer to SetAlternateSetting and to bulk OUT transfers from now on.
    void SetSettingStatus(vcam::TransferStatus status);
    void SetBulkOutStatus(vcam::TransferStatus status);

    /// Pulls the plug, or plugs in again.
    void Plug(bool attached);

    std::vector<Received> Log() const;
    void ClearLog();
    /// Control requests with these fields, in order.
    std::vector<Received> Controls(std::uint8_t request_type, std::uint8_t request,
                                   std::uint16_t value, std::uint16_t index) const;
    std::vector<Received> Of(Received::Kind kind) const;
    bool WaitReceived(const std::function<bool(const Received&)>& wanted,
                      std::chrono::milliseconds limit = kPatience) const;

    // vcam::UsbDevice
    Bytes DeviceDescriptor() const override;
    Bytes ConfigurationDescriptor() const override;
    Bytes StringDescriptor(std::uint8_t index) const override;
    bool Attached(vcam::TimeUs now) override;
    unsigned Session(vcam::TimeUs now) override;
    vcam::TransferResult Control(const vcam::SetupPacket& setup, unsigned char* data,
                                 vcam::TimeUs now) override;
    vcam::TransferResult SetAlternateSetting(unsigned interface_number, unsigned setting,
                                             vcam::TimeUs now) override;
    vcam::TransferResult ClearHalt(std::uint8_t endpoint, vcam::TimeUs now) override;
    vcam::TransferResult BulkIn(std::uint8_t endpoint, unsigned char* data, std::size_t capacity,
                                vcam::TimeUs now) override;
    vcam::TransferResult BulkOut(std::uint8_t endpoint, const unsigned char* data,
                                 std::size_t length, vcam::TimeUs now) override;
    vcam::TransferResult IsoIn(std::uint8_t endpoint, vcam::IsoPacket* packets, std::size_t count,
                               vcam::TimeUs now) override;
    void Cancelled(std::uint8_t endpoint, vcam::TimeUs now) override;

private:
    struct InTransfer {
        std::vector<ScriptedPacket> packets;  ///< one for bulk
        vcam::TransferStatus status;
    };
    using RequestKey = std::uint64_t;

    static RequestKey KeyOf(std::uint8_t request_type, std::uint8_t request, std::uint16_t value,
                            std::uint16_t index);
    void Record(Received received);

    const Layout m_layout;
    const std::uint16_t m_vendor_id;
    const std::uint16_t m_product_id;

    mutable std::mutex m_mutex;  // a leaf; guards everything below
    bool m_attached = true;
    unsigned m_session = 1;
    bool m_hold_controls = false;
    vcam::TransferStatus m_setting_status = vcam::TransferStatus::kCompleted;
    vcam::TransferStatus m_bulk_out_status = vcam::TransferStatus::kCompleted;
    std::map<std::uint8_t, std::deque<InTransfer>> m_in;
    std::map<std::uint8_t, Source> m_sources;
    std::map<RequestKey, ControlReply> m_replies;
    std::map<RequestKey, std::deque<ControlReply>> m_queued_replies;
    std::vector<Received> m_log;
};

/// The descriptors that belong to a layout.
Bytes ConfigurationOf(Layout layout);

}  // namespace test_support

#endif
