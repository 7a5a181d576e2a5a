#include "virtual_camera/vhci/link.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace vcam::vhci
{
namespace
{

constexpr std::uint8_t kIn = 0x80;
constexpr std::uint32_t kMaxLength = 1U << 22;
constexpr std::uint32_t kMaxPackets = 1024;
/// A packet takes a millisecond on a real bus, so a server that is late must not
/// send everything at once: no reader is made for that. A little faster, so that
/// it catches up.
constexpr TimeUs kShortestPacket = 700;
/// What a bus may have been idle for and make up at once.
constexpr TimeUs kMadeUp = 15000;

std::uint8_t QueueOf(std::uint8_t address)
{
    return (address & 0x0F) == 0 ? 0 : address;
}

std::int32_t ToErrno(TransferStatus status)
{
    switch (status) {
        case TransferStatus::kCompleted:
            return 0;
        case TransferStatus::kStall:
            return -EPIPE;
        case TransferStatus::kOverflow:
            return -EOVERFLOW;
        case TransferStatus::kNoDevice:
            return -ENODEV;
        case TransferStatus::kNotReady:
        case TransferStatus::kTimeout:
        case TransferStatus::kError:
            break;
    }
    return -EPROTO;
}

}  // namespace

Link::Link(File wire, UsbDevice& device)
    : m_wire(std::move(wire)),
      m_device(device),
      m_default_pipe(device, DefaultPipe::Host::kConfiguresTheDevice)
{
}

bool Link::Take(void* to, std::size_t size) const
{
    // A record and what follows it are sent in one go, so waiting for the rest
    // of one takes no time.
    return size == 0 || recv(m_wire.Get(), to, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

bool Link::Receive(TimeUs now)
{
    pollfd waiting{m_wire.Get(), POLLIN, 0};
    while (!m_broken && poll(&waiting, 1, 0) > 0)
        if (!TakeOne(now))
            m_broken = true;
    return !m_broken;
}

bool Link::TakeOne(TimeUs now)
{
    Record record;
    if (!Take(record.data(), record.size()))
        return false;
    const Request request = DecodeRequest(record);
    if (request.command == kSubmit)
        return TakeTransfer(request);
    if (request.command != kUnlink)
        return false;
    Unlink(request, now);
    return true;
}

bool Link::TakeTransfer(const Request& request)
{
    if (request.length > kMaxLength || request.packets > kMaxPackets)
        return false;
    Transfer transfer{request, {}, {}, false};
    const bool in = (request.address & kIn) != 0;
    const bool control = QueueOf(request.address) == 0;
    if (control)
        transfer.data.resize(std::max<std::size_t>(request.setup.length, request.length));
    else if (!in)
        transfer.data.resize(request.length);
    if (!in && !Take(transfer.data.data(), request.length))
        return false;
    std::vector<std::uint8_t> packets(request.packets * kPacketSize);
    if (!Take(packets.data(), packets.size()))
        return false;
    for (std::size_t at = 0; at < packets.size(); at += kPacketSize)
        transfer.packets.push_back(DecodePacket(&packets[at]));
    m_queues[QueueOf(request.address)].push_back(std::move(transfer));
    return true;
}

void Link::Unlink(const Request& request, TimeUs now)
{
    std::int32_t status = 0;  // "answered already"
    for (auto& [address, queue] : m_queues) {
        const auto found =
            std::find_if(queue.begin(), queue.end(), [&request](const Transfer& transfer) {
                return transfer.request.sequence == request.victim;
            });
        if (found == queue.end())
            continue;
        queue.erase(found);
        m_device.Cancelled(address, now);
        status = -ECONNRESET;
        break;
    }
    const Record record = EncodeUnlinkAnswer(request.sequence, status);
    Send({record.begin(), record.end()});
}

TimeUs Link::Serve(TimeUs now)
{
    TimeUs next = kNever;
    for (auto& [address, queue] : m_queues) {
        while (!queue.empty() && !m_broken) {
            if (queue.front().stuck)
                break;
            const std::size_t packets = queue.front().packets.size();
            if (packets > 0 && now < m_bus_free_at[address]) {
                next = std::min(next, m_bus_free_at[address]);
                break;
            }
            const TransferResult result = Attempt(queue.front(), now);
            if (result.status == TransferStatus::kNotReady) {
                next = std::min(next, result.ready_at);
                break;
            }
            if (queue.front().stuck)
                break;
            // Its transfers end with the wire, as those of a pulled plug do.
            if (result.status == TransferStatus::kNoDevice)
                return now;
            if (packets > 0)
                m_bus_free_at[address] = std::max(m_bus_free_at[address], now - kMadeUp) +
                                         packets * kShortestPacket;
            queue.pop_front();
        }
    }
    return next;
}

TransferResult Link::Attempt(Transfer& transfer, TimeUs now)
{
    const TransferResult result = AskDevice(transfer, now);
    if (result.status == TransferStatus::kTimeout)
        transfer.stuck = true;
    else if (result.status != TransferStatus::kNotReady &&
             result.status != TransferStatus::kNoDevice)
        Reply(transfer, result);
    return result;
}

TransferResult Link::AskDevice(Transfer& transfer, TimeUs now)
{
    const Request& request = transfer.request;
    if (QueueOf(request.address) == 0) {
        const TransferResult result =
            m_default_pipe.Serve(request.setup, transfer.data.data(), now);
        m_received = transfer.data;
        return result;
    }
    if (!transfer.packets.empty())
        return AskIsochronous(transfer, now);
    if ((request.address & kIn) == 0)
        return m_device.BulkOut(request.address, transfer.data.data(), request.length, now);
    m_received.resize(request.length);
    return m_device.BulkIn(request.address, m_received.data(), request.length, now);
}

TransferResult Link::AskIsochronous(Transfer& transfer, TimeUs now)
{
    std::size_t capacity = 0;
    for (const WirePacket& packet : transfer.packets) capacity += packet.length;
    m_received.resize(capacity);
    std::vector<IsoPacket> packets;
    unsigned char* at = m_received.data();
    for (const WirePacket& packet : transfer.packets) {
        packets.push_back({at, packet.length, 0, TransferStatus::kCompleted});
        at += packet.length;
    }
    TransferResult result =
        m_device.IsoIn(transfer.request.address, packets.data(), packets.size(), now);
    if (result.status != TransferStatus::kCompleted)
        return result;
    // On the wire the packets lie without gaps; the kernel spreads them again.
    unsigned char* to = m_received.data();
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const std::size_t length = std::min(packets[i].length, packets[i].capacity);
        std::memmove(to, packets[i].data, length);
        to += length;
        transfer.packets[i].actual = static_cast<std::uint32_t>(length);
        transfer.packets[i].status = ToErrno(packets[i].status);
    }
    result.length = static_cast<std::size_t>(to - m_received.data());
    return result;
}

void Link::Reply(const Transfer& transfer, const TransferResult& result)
{
    const Request& request = transfer.request;
    const bool in = (request.address & kIn) != 0;
    Answer answer{request.sequence, ToErrno(result.status)};
    answer.length =
        static_cast<std::uint32_t>(std::min<std::size_t>(result.length, request.length));
    answer.packets = request.packets;
    if (answer.status == 0 && in && (request.flags & kShortNotOk) != 0 &&
        answer.length < request.length)
        answer.status = -EREMOTEIO;
    for (const WirePacket& packet : transfer.packets)
        if (packet.status != 0)
            ++answer.bad_packets;

    const Record record = EncodeAnswer(answer);
    std::vector<std::uint8_t> bytes(record.begin(), record.end());
    if (in)
        bytes.insert(bytes.end(), m_received.begin(), m_received.begin() + answer.length);
    for (const WirePacket& packet : transfer.packets) {
        bytes.resize(bytes.size() + kPacketSize);
        EncodePacket(packet, &bytes[bytes.size() - kPacketSize]);
    }
    Send(bytes);
}

void Link::Send(const std::vector<std::uint8_t>& bytes)
{
    for (std::size_t sent = 0; sent < bytes.size() && !m_broken;) {
        const ssize_t part =
            send(m_wire.Get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (part < 0 && errno != EINTR)
            m_broken = true;
        else if (part > 0)
            sent += static_cast<std::size_t>(part);
    }
}

}  // namespace vcam::vhci
