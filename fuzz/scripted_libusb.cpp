#include "fuzz/scripted_libusb.h"

#include <algorithm>
#include <cstdlib>

#include "fuzz/check.h"
#include "runtime/byte_order.h"

struct libusb_device {
};
struct libusb_context {
    std::vector<libusb_transfer*> submitted;
};
struct libusb_device_handle {
    libusb_context* context;
};

namespace {

libusb_device g_device;
fuzz::Bytes* g_script = nullptr;
std::size_t g_submitted = 0;
bool g_next_submit_fails = false;
std::vector<std::uint8_t> g_bulk_out;
bool g_keep_requests = false;
std::vector<fuzz::Request> g_requests;

/// First byte of a completion. The low half is the status, mostly success.
enum : unsigned {
    kStatusMask = 0x0F,
    kNextSubmitFails = 0x10,
    kRawHeader = 0x20,   ///< the payload's header is the script's too
    kLyingLength = 0x40,  ///< lengths are taken as they are
    kPattern = 0x80,     ///< long data that is not in the script
};

std::uint8_t Next()
{
    return g_script != nullptr ? g_script->U8() : std::uint8_t{0};
}

std::uint16_t Next16()
{
    return g_script != nullptr ? g_script->U16() : std::uint16_t{0};
}

void Fill(unsigned char* data, std::size_t size, bool pattern)
{
    if (!pattern && g_script != nullptr) {
        g_script->Take(data, size);
        return;
    }
    for (std::size_t i = 0; i < size; ++i)
        data[i] = static_cast<unsigned char>(i * 7);
}

libusb_transfer_status StatusOf(unsigned code)
{
    switch (code) {
    case 10:
        return LIBUSB_TRANSFER_TIMED_OUT;
    case 11:
        return LIBUSB_TRANSFER_CANCELLED;
    case 12:
        return LIBUSB_TRANSFER_STALL;
    case 13:
        return LIBUSB_TRANSFER_NO_DEVICE;
    case 14:
        return LIBUSB_TRANSFER_OVERFLOW;
    case 15:
        return LIBUSB_TRANSFER_ERROR;
    default:
        return LIBUSB_TRANSFER_COMPLETED;
    }
}

void FillBulk(libusb_transfer& transfer, unsigned how)
{
    const unsigned asked = (how & (kPattern | kLyingLength)) != 0 ? Next16() : Next();
    const int limit = transfer.length;
    const int length = std::min(static_cast<int>(asked), limit);
    const auto size = static_cast<std::size_t>(length);
    std::size_t written = 0;
    if ((how & kRawHeader) == 0 && size >= 2) {
        transfer.buffer[0] = 12;
        transfer.buffer[1] = Next();
        std::fill(transfer.buffer + 2, transfer.buffer + std::min<std::size_t>(size, 12),
                  static_cast<unsigned char>(0));
        written = std::min<std::size_t>(size, 12);
    }
    Fill(transfer.buffer + written, size - written, (how & kPattern) != 0);
    transfer.actual_length =
        (how & kLyingLength) != 0 ? static_cast<std::int16_t>(asked) : length;
}

void FillIso(libusb_transfer& transfer, unsigned how)
{
    unsigned char* data = transfer.buffer;
    for (int i = 0; i < transfer.num_iso_packets; ++i) {
        libusb_iso_packet_descriptor& packet = transfer.iso_packet_desc[i];
        const unsigned asked = (how & (kPattern | kLyingLength)) != 0 ? Next16() : Next();
        const unsigned length = std::min(asked, packet.length);
        Fill(data, length, (how & kPattern) != 0);
        packet.actual_length = (how & kLyingLength) != 0 ? asked : length;
        packet.status = LIBUSB_TRANSFER_COMPLETED;
        data += packet.length;
    }
}

void Complete(libusb_context& context, std::size_t index)
{
    libusb_transfer* const transfer = context.submitted[index];
    context.submitted.erase(context.submitted.begin() + static_cast<std::ptrdiff_t>(index));
    --g_submitted;
    transfer->callback(transfer);
}

/// False when there is nothing to complete.
bool CompleteOne(libusb_context& context)
{
    for (std::size_t i = 0; i < context.submitted.size(); ++i) {
        if (context.submitted[i]->status == LIBUSB_TRANSFER_CANCELLED) {
            context.submitted[i]->actual_length = 0;
            Complete(context, i);
            return true;
        }
    }
    if (context.submitted.empty() || g_script == nullptr || g_script->Empty())
        return false;
    libusb_transfer& transfer = *context.submitted.front();
    const unsigned how = Next();
    if ((how & kNextSubmitFails) != 0)
        g_next_submit_fails = true;
    if (transfer.type == LIBUSB_TRANSFER_TYPE_BULK)
        FillBulk(transfer, how);
    else
        FillIso(transfer, how);
    transfer.status = StatusOf(how & kStatusMask);
    Complete(context, 0);
    return true;
}

/// Sizes in a probe answer: small as a rule, for speed; when the script says so
/// as they come, where the library refuses them or they are small after all.
void FillProbe(unsigned char* data, std::size_t size)
{
    constexpr std::size_t kFrameSizeAt = 18;
    constexpr std::size_t kPayloadSizeAt = 22;
    if (size < kPayloadSizeAt + 4)
        return;
    std::uint32_t frame = Next16();
    std::uint32_t payload = Next16() & 0x0FFFU;
    if (payload == 0x0FFF) {
        constexpr std::uint64_t kRefused = 64U << 20;
        frame = static_cast<std::uint32_t>(Next16()) << 16 | frame;
        payload = static_cast<std::uint32_t>(Next16()) << 16 | payload;
        if (payload <= 16U << 20 && static_cast<std::uint64_t>(frame) + payload <= kRefused) {
            frame &= 0xFFFF;
            payload &= 0xFFFF;
        }
    }
    WriteLe32(data + kFrameSizeAt, frame);
    WriteLe32(data + kPayloadSizeAt, payload);
}

}  // namespace

namespace fuzz {

void UseScript(Bytes* script)
{
    g_script = script;
    g_next_submit_fails = false;
    g_bulk_out.clear();
    g_requests.clear();
    FUZZ_CHECK(g_submitted == 0);
}

std::size_t Submitted()
{
    return g_submitted;
}

std::vector<std::uint8_t>& BulkOut()
{
    return g_bulk_out;
}

void KeepRequests(bool keep)
{
    g_keep_requests = keep;
}

std::vector<Request>& Requests()
{
    return g_requests;
}

libusb_device_handle* OpenHandle()
{
    return new libusb_device_handle{nullptr};
}

}  // namespace fuzz

extern "C" {

int libusb_init(libusb_context** context)
{
    *context = new libusb_context;
    return 0;
}
void libusb_exit(libusb_context* context)
{
    FUZZ_CHECK(context->submitted.empty());
    delete context;
}
ssize_t libusb_get_device_list(libusb_context*, libusb_device*** list)
{
    *list = static_cast<libusb_device**>(std::calloc(1, sizeof(libusb_device*)));
    return 0;
}
void libusb_free_device_list(libusb_device** list, int)
{
    std::free(list);
}
int libusb_get_device_descriptor(libusb_device*, libusb_device_descriptor* descriptor)
{
    *descriptor = {};
    return 0;
}
int libusb_open(libusb_device*, libusb_device_handle**)
{
    return LIBUSB_ERROR_NO_DEVICE;
}
libusb_device_handle* libusb_open_device_with_vid_pid(libusb_context* context, uint16_t, uint16_t)
{
    return new libusb_device_handle{context};
}
void libusb_close(libusb_device_handle* handle)
{
    delete handle;
}
libusb_device* libusb_get_device(libusb_device_handle*)
{
    return &g_device;
}
int libusb_get_configuration(libusb_device_handle*, int* configuration)
{
    *configuration = 1;
    return 0;
}
int libusb_kernel_driver_active(libusb_device_handle*, int)
{
    return 0;
}
int libusb_detach_kernel_driver(libusb_device_handle*, int)
{
    return 0;
}
int libusb_claim_interface(libusb_device_handle*, int)
{
    return 0;
}
int libusb_release_interface(libusb_device_handle*, int)
{
    return 0;
}
int libusb_set_interface_alt_setting(libusb_device_handle*, int, int)
{
    return 0;
}
int libusb_get_max_packet_size(libusb_device*, unsigned char)
{
    return 512;
}
int libusb_get_max_iso_packet_size(libusb_device*, unsigned char)
{
    const std::uint16_t size = Next16();
    return size == 0xFFFF ? LIBUSB_ERROR_OTHER : size & 0x1FFF;
}

/// Before the answer, up to three other transfers complete on this thread, as
/// when nobody else handles events.
int libusb_control_transfer(libusb_device_handle* handle, uint8_t type, uint8_t request,
                            uint16_t value, uint16_t index, unsigned char* data, uint16_t length,
                            unsigned)
{
    const std::uint8_t how = Next();
    if (handle->context != nullptr) {
        for (unsigned i = 0; i < (how & 3U) && CompleteOne(*handle->context); ++i) {
        }
    }
    if (how >= 0xF8)
        return -static_cast<int>(how & 7U) - 1;
    const bool device_to_host = (type & LIBUSB_ENDPOINT_IN) != 0;
    if (device_to_host) {
        Fill(data, length, (how & 4U) == 0);
        if (value == 0x0100 && index == 1)
            FillProbe(data, length);
    } else {
        fuzz::ReadAll(data, length);
        if (g_keep_requests)
            g_requests.push_back({type, request, value, index,
                                  std::vector<std::uint8_t>(data, data + length)});
    }
    return how >= 0xF0 ? length / 2 : length;
}

int libusb_bulk_transfer(libusb_device_handle*, unsigned char, unsigned char* data, int length,
                         int* moved, unsigned)
{
    const std::uint8_t how = Next();
    if (how >= 0xF0) {
        *moved = 0;
        return -static_cast<int>(how & 0x0FU) - 1;
    }
    g_bulk_out.insert(g_bulk_out.end(), data, data + length);
    *moved = length;
    return 0;
}

libusb_transfer* libusb_alloc_transfer(int packets)
{
    const std::size_t size = sizeof(libusb_transfer) + static_cast<std::size_t>(packets) *
                                                           sizeof(libusb_iso_packet_descriptor);
    return static_cast<libusb_transfer*>(std::calloc(1, size));
}
void libusb_free_transfer(libusb_transfer* transfer)
{
    std::free(transfer);
}
int libusb_submit_transfer(libusb_transfer* transfer)
{
    if (g_next_submit_fails) {
        g_next_submit_fails = false;
        return LIBUSB_ERROR_IO;
    }
    std::vector<libusb_transfer*>& submitted = transfer->dev_handle->context->submitted;
    FUZZ_CHECK(std::find(submitted.begin(), submitted.end(), transfer) == submitted.end());
    transfer->status = LIBUSB_TRANSFER_COMPLETED;
    submitted.push_back(transfer);
    ++g_submitted;
    return 0;
}
int libusb_cancel_transfer(libusb_transfer* transfer)
{
    const std::vector<libusb_transfer*>& submitted = transfer->dev_handle->context->submitted;
    if (std::find(submitted.begin(), submitted.end(), transfer) == submitted.end())
        return LIBUSB_ERROR_NOT_FOUND;
    transfer->status = LIBUSB_TRANSFER_CANCELLED;
    return 0;
}
int libusb_handle_events_timeout(libusb_context* context, timeval*)
{
    CompleteOne(*context);
    return 0;
}
void libusb_interrupt_event_handler(libusb_context*) {}
}
