// Synchronous transfers: asynchronous ones inside, that end in an event pass
// made by whichever thread gets there.
#include <algorithm>
#include <cstring>

#include "virtual_camera/standin/core.h"

using namespace vcam;
using namespace vcam::standin;

namespace {

struct Outcome {
    libusb_transfer_status status;
    int actual_length;
    std::atomic<bool> done{false};
};

void LIBUSB_CALL Note(libusb_transfer* transfer)
{
    auto* const outcome = static_cast<Outcome*>(transfer->user_data);
    outcome->status = transfer->status;
    outcome->actual_length = transfer->actual_length;
    outcome->done = true;
}

int ErrorOf(libusb_transfer_status status)
{
    switch (status) {
    case LIBUSB_TRANSFER_COMPLETED:
        return LIBUSB_SUCCESS;
    case LIBUSB_TRANSFER_TIMED_OUT:
        return LIBUSB_ERROR_TIMEOUT;
    case LIBUSB_TRANSFER_STALL:
        return LIBUSB_ERROR_PIPE;
    case LIBUSB_TRANSFER_OVERFLOW:
        return LIBUSB_ERROR_OVERFLOW;
    case LIBUSB_TRANSFER_NO_DEVICE:
        return LIBUSB_ERROR_NO_DEVICE;
    default:
        return LIBUSB_ERROR_IO;
    }
}

/// Submits and sees the transfer through. `outcome` is its user data.
int Perform(libusb_transfer* transfer, Outcome& outcome)
{
    Core& core = Core::Get();
    libusb_context* const context = transfer->dev_handle->context;
    if (InsidePass(context))
        return LIBUSB_ERROR_BUSY;
    transfer->callback = Note;
    transfer->user_data = &outcome;
    if (const int refused = core.Submit(transfer, std::nullopt); refused != LIBUSB_SUCCESS)
        return refused;
    while (!outcome.done) {
        constexpr TimeUs kLongTime = 60000000;
        if (HandleOrWait(context, After(Now(), kLongTime),
                         [&outcome] { return outcome.done.load(); }) != LIBUSB_SUCCESS)
            core.Cancel(transfer);
    }
    return ErrorOf(outcome.status);
}

int Control(libusb_device_handle* handle, const SetupPacket& setup, unsigned char* data,
            unsigned timeout, std::optional<std::size_t> longest_reply)
{
    Core& core = Core::Get();
    {
        Lock lock(core.Mutex());
        if (!core.CheckOpen(handle, "libusb_control_transfer"))
            return LIBUSB_ERROR_INVALID_PARAM;
    }
    libusb_transfer* const transfer = core.Allocate(0, true);
    if (!transfer)
        return LIBUSB_ERROR_NO_MEM;
    const bool in = (setup.request_type & LIBUSB_ENDPOINT_IN) != 0;
    std::vector<unsigned char> buffer(LIBUSB_CONTROL_SETUP_SIZE + std::size_t{setup.length});
    libusb_fill_control_setup(buffer.data(), setup.request_type, setup.request, setup.value,
                              setup.index, setup.length);
    if (!in && setup.length > 0)
        std::memcpy(buffer.data() + LIBUSB_CONTROL_SETUP_SIZE, data, setup.length);
    Outcome outcome{};
    libusb_fill_control_transfer(transfer, handle, buffer.data(), nullptr, nullptr, timeout);
    int result = Perform(transfer, outcome);
    if (result == LIBUSB_SUCCESS) {
        auto moved = static_cast<std::size_t>(outcome.actual_length);
        moved = std::min(moved, longest_reply.value_or(moved));
        if (in && moved > 0)
            std::memcpy(data, buffer.data() + LIBUSB_CONTROL_SETUP_SIZE, moved);
        result = static_cast<int>(moved);
    }
    core.Free(transfer);
    return result;
}

int Bulk(const char* function, unsigned char type, libusb_device_handle* handle,
         unsigned char endpoint, unsigned char* data, int length, int* moved, unsigned timeout)
{
    Core& core = Core::Get();
    {
        Lock lock(core.Mutex());
        if (!core.CheckOpen(handle, function))
            return LIBUSB_ERROR_INVALID_PARAM;
    }
    libusb_transfer* const transfer = core.Allocate(0, true);
    if (!transfer)
        return LIBUSB_ERROR_NO_MEM;
    Outcome outcome{};
    libusb_fill_bulk_transfer(transfer, handle, endpoint, data, length, nullptr, nullptr, timeout);
    transfer->type = type;
    const int result = Perform(transfer, outcome);
    if (moved)
        *moved = outcome.actual_length;
    core.Free(transfer);
    return result;
}

int TracedBulk(Function function, unsigned char type, libusb_device_handle* handle,
               unsigned char endpoint, unsigned char* data, int length, int* moved,
               unsigned timeout)
{
    CallScope scope(Core::Get().Calls(), function);
    const bool in = (endpoint & LIBUSB_ENDPOINT_IN) != 0;
    const bool fails = scope.Begin([&](Call& call) {
        call.handle = handle;
        call.endpoint = endpoint;
        call.transfer_type = type;
        call.length = static_cast<std::size_t>(length);
        call.timeout_ms = timeout;
        if (!in)
            call.data.assign(data, data + length);
    });
    if (fails) {
        if (moved)
            *moved = 0;
        return scope.End(scope.Failure());
    }
    int actual = 0;
    const int result =
        Bulk(NameOf(function), type, handle, endpoint, data, length, &actual, timeout);
    if (moved)
        *moved = actual;
    scope.Add([&](Call& call) {
        call.actual_length = static_cast<std::size_t>(actual);
        if (in)
            call.received.assign(data, data + actual);
    });
    return scope.End(result);
}

}  // namespace

extern "C" {

int LIBUSB_CALL libusb_control_transfer(libusb_device_handle* handle, std::uint8_t request_type,
                                        std::uint8_t request, std::uint16_t value,
                                        std::uint16_t index, unsigned char* data,
                                        std::uint16_t length, unsigned int timeout)
{
    const SetupPacket setup{request_type, request, value, index, length};
    const bool in = (request_type & LIBUSB_ENDPOINT_IN) != 0;
    CallScope scope(Core::Get().Calls(), Function::k_control_transfer);
    const bool fails = scope.Begin([&](Call& call) {
        call.handle = handle;
        call.setup = setup;
        call.length = length;
        call.timeout_ms = timeout;
        if (!in && data)
            call.data.assign(data, data + length);
    });
    if (fails)
        return scope.End(scope.Failure());
    const int result = Control(handle, setup, data, timeout, scope.Effects().longest_reply);
    scope.Add([&](Call& call) {
        if (in && result > 0)
            call.received.assign(data, data + result);
    });
    return scope.End(result);
}

int LIBUSB_CALL libusb_bulk_transfer(libusb_device_handle* handle, unsigned char endpoint,
                                     unsigned char* data, int length, int* transferred,
                                     unsigned int timeout)
{
    return TracedBulk(Function::k_bulk_transfer, LIBUSB_TRANSFER_TYPE_BULK, handle, endpoint, data,
                      length, transferred, timeout);
}

int LIBUSB_CALL libusb_interrupt_transfer(libusb_device_handle* handle, unsigned char endpoint,
                                          unsigned char* data, int length, int* transferred,
                                          unsigned int timeout)
{
    return TracedBulk(Function::k_interrupt_transfer, LIBUSB_TRANSFER_TYPE_INTERRUPT, handle,
                      endpoint, data, length, transferred, timeout);
}
}
