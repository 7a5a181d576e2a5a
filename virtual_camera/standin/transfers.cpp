// Life of a transfer: allocated, submitted, served by the device, taken up by
// an event pass.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "virtual_camera/standin/core.h"

namespace vcam::standin {
namespace {

constexpr std::size_t kPrivateSize =
    (sizeof(Transfer) + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);

std::uint8_t QueueAddress(const libusb_transfer& transfer)
{
    return transfer.type == LIBUSB_TRANSFER_TYPE_CONTROL ? 0 : transfer.endpoint;
}

void Remove(std::vector<Transfer*>& list, const Transfer* transfer)
{
    list.erase(std::remove(list.begin(), list.end(), transfer), list.end());
}

libusb_transfer_status ToLibusb(TransferStatus status)
{
    switch (status) {
    case TransferStatus::kCompleted:
        return LIBUSB_TRANSFER_COMPLETED;
    case TransferStatus::kStall:
        return LIBUSB_TRANSFER_STALL;
    case TransferStatus::kOverflow:
        return LIBUSB_TRANSFER_OVERFLOW;
    case TransferStatus::kNoDevice:
        return LIBUSB_TRANSFER_NO_DEVICE;
    case TransferStatus::kTimeout:
    case TransferStatus::kNotReady:
        return LIBUSB_TRANSFER_TIMED_OUT;
    case TransferStatus::kError:
        break;
    }
    return LIBUSB_TRANSFER_ERROR;
}

TransferResult ReadIsochronous(Transfer& transfer, libusb_transfer& request, TimeUs now)
{
    unsigned char* at = request.buffer;
    const auto count = static_cast<std::size_t>(request.num_iso_packets);
    transfer.iso_packets.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        transfer.iso_packets[i] = {at, request.iso_packet_desc[i].length, 0,
                                   TransferStatus::kCompleted};
        at += request.iso_packet_desc[i].length;
    }
    const TransferResult result = transfer.connection->device->IsoIn(
        request.endpoint, transfer.iso_packets.data(), count, now);
    if (result.status != TransferStatus::kCompleted)
        return result;
    for (std::size_t i = 0; i < count; ++i) {
        libusb_iso_packet_descriptor& packet = request.iso_packet_desc[i];
        packet.status = ToLibusb(transfer.iso_packets[i].status);
        packet.actual_length = static_cast<unsigned>(
            std::min<std::size_t>(transfer.iso_packets[i].length, packet.length));
    }
    return result;
}

/// One attempt at the device, by kind of transfer.
TransferResult Serve(Transfer& transfer, libusb_transfer& request, TimeUs now)
{
    UsbDevice& device = *transfer.connection->device;
    const auto length = static_cast<std::size_t>(request.length);
    switch (request.type) {
    case LIBUSB_TRANSFER_TYPE_CONTROL:
        return transfer.connection->default_pipe->Serve(
            DecodeSetup(request.buffer), request.buffer + LIBUSB_CONTROL_SETUP_SIZE, now);
    case LIBUSB_TRANSFER_TYPE_ISOCHRONOUS:
        return ReadIsochronous(transfer, request, now);
    default:
        return (request.endpoint & LIBUSB_ENDPOINT_IN) != 0
                   ? device.BulkIn(request.endpoint, request.buffer, length, now)
                   : device.BulkOut(request.endpoint, request.buffer, length, now);
    }
}

}  // namespace

Transfer& Private(libusb_transfer* transfer)
{
    return *reinterpret_cast<Transfer*>(reinterpret_cast<unsigned char*>(transfer) - kPrivateSize);
}

libusb_transfer* Public(Transfer& transfer)
{
    return reinterpret_cast<libusb_transfer*>(reinterpret_cast<unsigned char*>(&transfer) +
                                              kPrivateSize);
}

libusb_transfer* Core::Allocate(int iso_packets, bool internal)
{
    const auto packets = static_cast<std::size_t>(iso_packets);
    void* const memory = std::calloc(1, kPrivateSize + sizeof(libusb_transfer) +
                                            packets * sizeof(libusb_iso_packet_descriptor));
    if (!memory)
        return nullptr;
    auto* const made = new (memory) Transfer;
    made->internal = internal;
    made->iso_capacity = packets;
    libusb_transfer* const transfer = Public(*made);
    Lock lock(m_mutex);
    m_transfers.insert(transfer);
    return transfer;
}

void Core::Free(libusb_transfer* transfer)
{
    {
        Lock lock(m_mutex);
        if (m_transfers.erase(transfer) == 0) {
            ReportMisuse("libusb_free_transfer: not an allocated transfer");
            return;
        }
        if (Private(transfer).in_flight) {
            ReportMisuse("libusb_free_transfer: the transfer is in flight");
            Drop(Private(transfer));
        }
    }
    if ((transfer->flags & LIBUSB_TRANSFER_FREE_BUFFER) != 0)
        std::free(transfer->buffer);
    Transfer* const made = &Private(transfer);
    made->~Transfer();
    std::free(made);
}

int Core::Submit(libusb_transfer* transfer, std::optional<CompletionOverride> override_result)
{
    Lock lock(m_mutex);
    if (m_transfers.count(transfer) == 0) {
        ReportMisuse("libusb_submit_transfer: not an allocated transfer");
        return LIBUSB_ERROR_INVALID_PARAM;
    }
    Transfer& made = Private(transfer);
    if (made.in_flight) {
        ReportMisuse("libusb_submit_transfer: the transfer is in flight already");
        return LIBUSB_ERROR_BUSY;
    }
    if (!CheckOpen(transfer->dev_handle, "libusb_submit_transfer"))
        return LIBUSB_ERROR_INVALID_PARAM;
    const bool isochronous = transfer->type == LIBUSB_TRANSFER_TYPE_ISOCHRONOUS;
    if (isochronous && (transfer->num_iso_packets < 0 ||
                        static_cast<std::size_t>(transfer->num_iso_packets) > made.iso_capacity)) {
        ReportMisuse("libusb_submit_transfer: more packets than allocated");
        return LIBUSB_ERROR_INVALID_PARAM;
    }
    const TimeUs now = Now();
    Refresh(now);
    const std::shared_ptr<Connection>& connection = transfer->dev_handle->device->connection;
    if (connection->gone) {
        transfer->dev_handle->told_gone = true;
        return LIBUSB_ERROR_NO_DEVICE;
    }
    const bool control = transfer->type == LIBUSB_TRANSFER_TYPE_CONTROL;
    if (!control && !connection->FindActiveEndpoint(transfer->endpoint))
        return LIBUSB_ERROR_IO;

    made.handle = transfer->dev_handle;
    made.context = transfer->dev_handle->context;
    made.connection = connection;
    made.in_flight = true;
    made.finished = false;
    made.stuck = false;
    made.sequence = ++m_last_sequence;
    made.deadline = transfer->timeout == 0 ? kNever : After(now, TimeUs{transfer->timeout} * 1000);
    made.override_result = std::move(override_result);
    made.context->flying.push_back(&made);
    connection->queues[QueueAddress(*transfer)].push_back(&made);

    // What the host sends goes out at once; what it wants to receive is given
    // in an event pass, so that a cancelled transfer never holds data.
    TimeUs next = kNever;
    if (control || (transfer->endpoint & LIBUSB_ENDPOINT_IN) == 0)
        Attempt(made, now, next);
    made.context->wake.Bump();
    return LIBUSB_SUCCESS;
}

int Core::Cancel(libusb_transfer* transfer)
{
    Lock lock(m_mutex);
    if (m_transfers.count(transfer) == 0) {
        ReportMisuse("libusb_cancel_transfer: not an allocated transfer");
        return LIBUSB_ERROR_NOT_FOUND;
    }
    Refresh(Now());
    Transfer& made = Private(transfer);
    if (made.in_flight && made.connection->gone) {
        // The kernel knows no request of a device that has left.
        made.handle->told_gone = true;
        return LIBUSB_ERROR_NO_DEVICE;
    }
    if (!made.in_flight || (made.finished && made.status == LIBUSB_TRANSFER_CANCELLED))
        return LIBUSB_ERROR_NOT_FOUND;
    if (made.finished)  // completed just before; it keeps its result
        return LIBUSB_SUCCESS;
    made.connection->device->Cancelled(QueueAddress(*transfer), Now());
    Finish(made, LIBUSB_TRANSFER_CANCELLED, 0);
    return LIBUSB_SUCCESS;
}

void Core::Finish(Transfer& transfer, libusb_transfer_status status, std::size_t length)
{
    transfer.finished = true;
    transfer.status = status;
    transfer.actual_length = length;
    auto& queue = transfer.connection->queues[QueueAddress(*Public(transfer))];
    Remove(queue, &transfer);
    transfer.context->wake.Bump();
}

void Core::Drop(Transfer& transfer)
{
    if (!transfer.finished) {
        if (!transfer.connection->gone)
            transfer.connection->device->Cancelled(QueueAddress(*Public(transfer)), Now());
        Finish(transfer, LIBUSB_TRANSFER_CANCELLED, 0);
    }
    Remove(transfer.context->flying, &transfer);
    transfer.in_flight = false;
    transfer.finished = false;
    transfer.connection.reset();
}

bool Core::AskDevice(Transfer& transfer, TimeUs now, TimeUs& next)
{
    libusb_transfer& request = *Public(transfer);
    const auto& wanted = transfer.override_result;
    if (wanted && !wanted->ask_device) {
        const bool in = (request.endpoint & LIBUSB_ENDPOINT_IN) != 0;
        const auto capacity = static_cast<std::size_t>(request.length);
        const std::size_t given = in ? std::min(wanted->data.size(), capacity) : 0;
        if (given > 0)
            std::memcpy(request.buffer, wanted->data.data(), given);
        Finish(transfer, static_cast<libusb_transfer_status>(wanted->status),
               std::min(wanted->actual_length.value_or(given), capacity));
        return true;
    }
    const TransferResult result = Serve(transfer, request, now);
    if (result.status == TransferStatus::kNotReady) {
        next = std::min(next, result.ready_at);
        return false;
    }
    if (result.status == TransferStatus::kTimeout) {
        transfer.stuck = true;
        return false;
    }
    auto status = ToLibusb(result.status);
    std::size_t length = std::min(result.length, static_cast<std::size_t>(request.length));
    if (request.type == LIBUSB_TRANSFER_TYPE_ISOCHRONOUS)
        length = 0;
    if (wanted) {
        status = static_cast<libusb_transfer_status>(wanted->status);
        length = std::min(length, wanted->actual_length.value_or(length));
    }
    Finish(transfer, status, length);
    return true;
}

bool Core::Attempt(Transfer& transfer, TimeUs now, TimeUs& next)
{
    if (transfer.finished)
        return true;
    const std::uint8_t address = QueueAddress(*Public(transfer));
    if (!transfer.stuck && transfer.connection->queues[address].front() == &transfer &&
        AskDevice(transfer, now, next))
        return true;
    if (transfer.deadline <= now) {
        transfer.connection->device->Cancelled(address, now);
        Finish(transfer, LIBUSB_TRANSFER_TIMED_OUT, 0);
        return true;
    }
    next = std::min(next, transfer.deadline);
    return false;
}

void Core::ServeOtherContexts(const Transfer& transfer, TimeUs now, TimeUs& next)
{
    if (transfer.finished)
        return;
    const std::uint8_t address = QueueAddress(*Public(const_cast<Transfer&>(transfer)));
    auto& queue = transfer.connection->queues[address];
    while (queue.front()->context != transfer.context && Attempt(*queue.front(), now, next)) {
    }
}

Transfer* Core::TakeCompletion(libusb_context* context, std::uint64_t limit, TimeUs& next)
{
    Lock lock(m_mutex);
    const TimeUs now = Now();
    Refresh(now);
    next = kNever;
    for (Transfer* transfer : context->flying) {
        if (transfer->sequence > limit)
            break;
        ServeOtherContexts(*transfer, now, next);
        if (!Attempt(*transfer, now, next))
            continue;
        Remove(context->flying, transfer);
        transfer->in_flight = false;
        transfer->finished = false;
        transfer->connection.reset();
        libusb_transfer& request = *Public(*transfer);
        request.status = transfer->status;
        if (transfer->status == LIBUSB_TRANSFER_NO_DEVICE)
            transfer->handle->told_gone = true;
        request.actual_length = static_cast<int>(transfer->actual_length);
        return transfer;
    }
    return nullptr;
}

std::uint64_t Core::LastSequence()
{
    Lock lock(m_mutex);
    return m_last_sequence;
}

}  // namespace vcam::standin
