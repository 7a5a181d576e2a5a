#include "tests/support/scripted_device.h"

#include <algorithm>
#include <cstring>

namespace test_support {

using vcam::kNever;
using vcam::TimeUs;
using vcam::TransferResult;
using vcam::TransferStatus;

namespace {

std::uint16_t DefaultProduct(Layout layout)
{
    return layout == Layout::kCamera ? TORVIK_CAM_PRODUCT_ID : TORVIK_CAM_BOOT_PRODUCT_ID;
}

constexpr TransferResult NotReady()
{
    return {TransferStatus::kNotReady, 0, kNever};
}

std::size_t Put(const Bytes& bytes, unsigned char* data, std::size_t capacity)
{
    const std::size_t length = std::min(bytes.size(), capacity);
    if (length > 0)
        std::memcpy(data, bytes.data(), length);
    return length;
}

}  // namespace

ScriptedDevice::ScriptedDevice(Layout layout)
    : ScriptedDevice(layout, TORVIK_CAM_VENDOR_ID, DefaultProduct(layout))
{
}

ScriptedDevice::ScriptedDevice(Layout layout, std::uint16_t vendor_id, std::uint16_t product_id)
    : m_layout(layout), m_vendor_id(vendor_id), m_product_id(product_id)
{
}

void ScriptedDevice::QueueIn(std::uint8_t endpoint, Bytes data, TransferStatus status)
{
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_in[endpoint].push_back({{{std::move(data), TransferStatus::kCompleted}}, status});
    }
    WakeUp();
}

void ScriptedDevice::QueueIso(std::uint8_t endpoint, std::vector<ScriptedPacket> packets,
                              TransferStatus status)
{
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_in[endpoint].push_back({std::move(packets), status});
    }
    WakeUp();
}

void ScriptedDevice::SetSource(std::uint8_t endpoint, Source source)
{
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_sources[endpoint] = std::move(source);
    }
    WakeUp();
}

std::size_t ScriptedDevice::Queued(std::uint8_t endpoint) const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    const auto found = m_in.find(endpoint);
    return found == m_in.end() ? 0 : found->second.size();
}

bool ScriptedDevice::WaitDrained(std::uint8_t endpoint, std::chrono::milliseconds limit) const
{
    return WaitUntil([this, endpoint] { return Queued(endpoint) == 0; }, limit);
}

ScriptedDevice::RequestKey ScriptedDevice::KeyOf(std::uint8_t request_type, std::uint8_t request,
                                                 std::uint16_t value, std::uint16_t index)
{
    return (RequestKey{request_type} << 40) | (RequestKey{request} << 32) |
           (RequestKey{value} << 16) | index;
}

void ScriptedDevice::SetReply(std::uint8_t request_type, std::uint8_t request, std::uint16_t value,
                              std::uint16_t index, ControlReply reply)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_replies[KeyOf(request_type, request, value, index)] = std::move(reply);
}

void ScriptedDevice::QueueReply(std::uint8_t request_type, std::uint8_t request,
                                std::uint16_t value, std::uint16_t index, ControlReply reply)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_queued_replies[KeyOf(request_type, request, value, index)].push_back(std::move(reply));
}

void ScriptedDevice::HoldControls(bool hold)
{
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_hold_controls = hold;
    }
    WakeUp();
}

void ScriptedDevice::SetSettingStatus(TransferStatus status)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_setting_status = status;
}

void ScriptedDevice::SetBulkOutStatus(TransferStatus status)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_bulk_out_status = status;
}

void ScriptedDevice::Plug(bool attached)
{
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        if (attached && !m_attached)
            ++m_session;
        m_attached = attached;
    }
    WakeUp();
}

std::vector<Received> ScriptedDevice::Log() const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_log;
}

void ScriptedDevice::ClearLog()
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_log.clear();
}

std::vector<Received> ScriptedDevice::Controls(std::uint8_t request_type, std::uint8_t request,
                                               std::uint16_t value, std::uint16_t index) const
{
    std::vector<Received> found;
    for (Received& received : Of(Received::kControl))
        if (received.setup.request_type == request_type && received.setup.request == request &&
            received.setup.value == value && received.setup.index == index)
            found.push_back(std::move(received));
    return found;
}

std::vector<Received> ScriptedDevice::Of(Received::Kind kind) const
{
    std::vector<Received> found;
    for (Received& received : Log())
        if (received.kind == kind)
            found.push_back(std::move(received));
    return found;
}

bool ScriptedDevice::WaitReceived(const std::function<bool(const Received&)>& wanted,
                                  std::chrono::milliseconds limit) const
{
    return WaitUntil(
        [this, &wanted] {
            const std::vector<Received> log = Log();
            return std::any_of(log.begin(), log.end(), wanted);
        },
        limit);
}

void ScriptedDevice::Record(Received received)
{
    m_log.push_back(std::move(received));
}

bool ScriptedDevice::Attached(TimeUs)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_attached;
}

unsigned ScriptedDevice::Session(TimeUs)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_session;
}

TransferResult ScriptedDevice::Control(const vcam::SetupPacket& setup, unsigned char* data, TimeUs)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    if (m_hold_controls)
        return NotReady();
    const bool in = (setup.request_type & 0x80) != 0;
    Received received;
    received.setup = setup;
    if (!in)
        received.data.assign(data, data + setup.length);
    Record(std::move(received));

    const RequestKey key = KeyOf(setup.request_type, setup.request, setup.value, setup.index);
    ControlReply reply;
    if (auto queued = m_queued_replies.find(key);
        queued != m_queued_replies.end() && !queued->second.empty()) {
        reply = queued->second.front();
        queued->second.pop_front();
    } else if (const auto fixed = m_replies.find(key); fixed != m_replies.end()) {
        reply = fixed->second;
    } else if (in) {
        reply.status = TransferStatus::kStall;
    }
    const std::size_t moved = in ? Put(reply.data, data, setup.length)
                                 : std::min<std::size_t>(reply.accepted.value_or(setup.length),
                                                         setup.length);
    return {reply.status, moved, kNever};
}

TransferResult ScriptedDevice::SetAlternateSetting(unsigned interface_number, unsigned setting,
                                                   TimeUs)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    Received received;
    received.kind = Received::kSetting;
    received.interface_number = interface_number;
    received.setting = setting;
    Record(std::move(received));
    return {m_setting_status, 0, kNever};
}

TransferResult ScriptedDevice::ClearHalt(std::uint8_t endpoint, TimeUs)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    Received received;
    received.kind = Received::kClearHalt;
    received.endpoint = endpoint;
    Record(std::move(received));
    return {TransferStatus::kCompleted, 0, kNever};
}

TransferResult ScriptedDevice::BulkIn(std::uint8_t endpoint, unsigned char* data,
                                      std::size_t capacity, TimeUs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (const auto source = m_sources.find(endpoint); source != m_sources.end()) {
        const Source serve = source->second;
        lock.unlock();
        return serve(data, capacity);
    }
    auto& queue = m_in[endpoint];
    if (queue.empty())
        return NotReady();
    const InTransfer transfer = std::move(queue.front());
    queue.pop_front();
    const Bytes& bytes = transfer.packets.front().data;
    const std::size_t length = Put(bytes, data, capacity);
    const bool too_long = bytes.size() > capacity;
    return {too_long ? TransferStatus::kOverflow : transfer.status, length, kNever};
}

TransferResult ScriptedDevice::BulkOut(std::uint8_t endpoint, const unsigned char* data,
                                       std::size_t length, TimeUs)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    Received received;
    received.kind = Received::kBulkOut;
    received.endpoint = endpoint;
    received.data.assign(data, data + length);
    Record(std::move(received));
    const bool taken = m_bulk_out_status == TransferStatus::kCompleted;
    return {m_bulk_out_status, taken ? length : 0, kNever};
}

TransferResult ScriptedDevice::IsoIn(std::uint8_t endpoint, vcam::IsoPacket* packets,
                                     std::size_t count, TimeUs)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    auto& queue = m_in[endpoint];
    if (queue.empty())
        return NotReady();
    const InTransfer transfer = std::move(queue.front());
    queue.pop_front();
    std::size_t total = 0;
    for (std::size_t i = 0; i < count; ++i) {
        packets[i].length = 0;
        packets[i].status = TransferStatus::kCompleted;
        if (i >= transfer.packets.size())
            continue;
        packets[i].length = Put(transfer.packets[i].data, packets[i].data, packets[i].capacity);
        packets[i].status = transfer.packets[i].status;
        total += packets[i].length;
    }
    return {transfer.status, total, kNever};
}

void ScriptedDevice::Cancelled(std::uint8_t endpoint, TimeUs)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    Received received;
    received.kind = Received::kCancelled;
    received.endpoint = endpoint;
    Record(std::move(received));
}

}  // namespace test_support
