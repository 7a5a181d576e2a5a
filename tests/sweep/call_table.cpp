#include "tests/sweep/call_table.h"

#include <cstring>
#include <libusb.h>

namespace sweep {
namespace {

// What libusb's reference lists for each call, and what its Linux part returns
// beyond that.
constexpr int kInit[] = {LIBUSB_ERROR_IO, LIBUSB_ERROR_NO_MEM, LIBUSB_ERROR_OTHER};
constexpr int kList[] = {LIBUSB_ERROR_IO, LIBUSB_ERROR_ACCESS, LIBUSB_ERROR_NO_MEM,
                         LIBUSB_ERROR_OTHER};
constexpr int kDescriptor[] = {LIBUSB_ERROR_IO, LIBUSB_ERROR_NO_DEVICE};
constexpr int kOpen[] = {LIBUSB_ERROR_IO,     LIBUSB_ERROR_ACCESS, LIBUSB_ERROR_NO_DEVICE,
                         LIBUSB_ERROR_NO_MEM, LIBUSB_ERROR_OTHER};
constexpr int kNull[] = {LIBUSB_ERROR_IO};
constexpr int kConfiguration[] = {LIBUSB_ERROR_IO, LIBUSB_ERROR_NO_DEVICE, LIBUSB_ERROR_TIMEOUT,
                                  LIBUSB_ERROR_PIPE, LIBUSB_ERROR_OTHER};
constexpr int kDriverActive[] = {LIBUSB_ERROR_NO_DEVICE, LIBUSB_ERROR_NOT_FOUND,
                                 LIBUSB_ERROR_NOT_SUPPORTED, LIBUSB_ERROR_OTHER};
constexpr int kDetach[] = {LIBUSB_ERROR_INVALID_PARAM, LIBUSB_ERROR_NO_DEVICE,
                           LIBUSB_ERROR_NOT_FOUND, LIBUSB_ERROR_NOT_SUPPORTED,
                           LIBUSB_ERROR_OTHER};
constexpr int kClaim[] = {LIBUSB_ERROR_NO_DEVICE, LIBUSB_ERROR_NOT_FOUND, LIBUSB_ERROR_BUSY,
                          LIBUSB_ERROR_OTHER};
constexpr int kRelease[] = {LIBUSB_ERROR_NO_DEVICE, LIBUSB_ERROR_NOT_FOUND, LIBUSB_ERROR_OTHER};
constexpr int kSetting[] = {LIBUSB_ERROR_NO_DEVICE, LIBUSB_ERROR_NOT_FOUND, LIBUSB_ERROR_PIPE,
                            LIBUSB_ERROR_OTHER};
constexpr int kPacketSize[] = {LIBUSB_ERROR_NOT_FOUND, LIBUSB_ERROR_OTHER};
constexpr int kControl[] = {LIBUSB_ERROR_IO,       LIBUSB_ERROR_INVALID_PARAM,
                            LIBUSB_ERROR_NO_DEVICE, LIBUSB_ERROR_BUSY,
                            LIBUSB_ERROR_TIMEOUT,  LIBUSB_ERROR_OVERFLOW,
                            LIBUSB_ERROR_PIPE,     LIBUSB_ERROR_NO_MEM,
                            LIBUSB_ERROR_OTHER};
constexpr int kBulk[] = {LIBUSB_ERROR_IO,      LIBUSB_ERROR_INVALID_PARAM, LIBUSB_ERROR_NO_DEVICE,
                         LIBUSB_ERROR_BUSY,    LIBUSB_ERROR_TIMEOUT,       LIBUSB_ERROR_OVERFLOW,
                         LIBUSB_ERROR_PIPE,    LIBUSB_ERROR_NO_MEM,        LIBUSB_ERROR_OTHER};
constexpr int kSubmit[] = {LIBUSB_ERROR_IO,   LIBUSB_ERROR_INVALID_PARAM, LIBUSB_ERROR_NO_DEVICE,
                           LIBUSB_ERROR_BUSY, LIBUSB_ERROR_NO_MEM,        LIBUSB_ERROR_NOT_SUPPORTED};
constexpr int kCancel[] = {LIBUSB_ERROR_NO_DEVICE, LIBUSB_ERROR_NOT_FOUND, LIBUSB_ERROR_OTHER};
constexpr int kEvents[] = {LIBUSB_ERROR_IO, LIBUSB_ERROR_INVALID_PARAM, LIBUSB_ERROR_INTERRUPTED,
                           LIBUSB_ERROR_OTHER};
constexpr int kStatuses[] = {LIBUSB_TRANSFER_COMPLETED, LIBUSB_TRANSFER_ERROR,
                             LIBUSB_TRANSFER_TIMED_OUT, LIBUSB_TRANSFER_CANCELLED,
                             LIBUSB_TRANSFER_STALL,     LIBUSB_TRANSFER_NO_DEVICE,
                             LIBUSB_TRANSFER_OVERFLOW};
constexpr int kShort[] = {0, 1};

template <std::size_t size>
constexpr Codes All(const int (&codes)[size])
{
    return {codes, size};
}

bool IsNoWatch(const Call& call)
{
    return !IsWatch(call);
}

}  // namespace

bool IsWatch(const Call& call)
{
    // The version's reply is read with the same request, but more patience.
    return call.setup.request_type == 0xA0 && call.setup.value == 0x0200 &&
           call.setup.index == 0x0600 && call.timeout_ms == 500;
}

const CallRow kCalls[] = {
    {"init", "libusb_init", nullptr, All(kInit), {}, {}},
    {"get_device_list", "libusb_get_device_list", nullptr, All(kList), {}, {}},
    {"get_device_descriptor", "libusb_get_device_descriptor", nullptr, All(kDescriptor), {}, {}},
    {"open", "libusb_open", nullptr, All(kOpen), {}, {}},
    {"open_device_with_vid_pid", "libusb_open_device_with_vid_pid", nullptr, All(kNull), {}, {}},
    {"get_configuration", "libusb_get_configuration", nullptr, All(kConfiguration), {}, {}},
    {"kernel_driver_active", "libusb_kernel_driver_active", nullptr, All(kDriverActive), {}, {}},
    {"detach_kernel_driver", "libusb_detach_kernel_driver", nullptr, All(kDetach), {}, {}},
    {"claim_interface", "libusb_claim_interface", nullptr, All(kClaim), {}, {}},
    {"release_interface", "libusb_release_interface", nullptr, All(kRelease), {}, {}},
    {"set_interface_alt_setting", "libusb_set_interface_alt_setting", nullptr, All(kSetting), {},
     {}},
    {"get_max_packet_size", "libusb_get_max_packet_size", nullptr, All(kPacketSize), {}, {}},
    {"get_max_iso_packet_size", "libusb_get_max_iso_packet_size", nullptr, All(kPacketSize), {},
     {}},
    {"control_transfer", "libusb_control_transfer", IsNoWatch, All(kControl), {}, All(kShort)},
    {"watch", "libusb_control_transfer", IsWatch, All(kControl), {}, {}},
    {"bulk_transfer", "libusb_bulk_transfer", nullptr, All(kBulk), {}, {}},
    {"alloc_transfer", "libusb_alloc_transfer", nullptr, All(kNull), {}, {}},
    {"submit_transfer", "libusb_submit_transfer", nullptr, All(kSubmit), All(kStatuses), {}},
    {"cancel_transfer", "libusb_cancel_transfer", nullptr, All(kCancel), {}, {}},
    {"handle_events_timeout", "libusb_handle_events_timeout", nullptr, All(kEvents), {}, {}},
    // These cannot fail, but the camera can be gone when they are made.
    {"exit", "libusb_exit", nullptr, {}, {}, {}},
    {"close", "libusb_close", nullptr, {}, {}, {}},
    {"get_device", "libusb_get_device", nullptr, {}, {}, {}},
    {"free_device_list", "libusb_free_device_list", nullptr, {}, {}, {}},
    {"free_transfer", "libusb_free_transfer", nullptr, {}, {}, {}},
};
const std::size_t kCallCount = std::size(kCalls);

const CallRow* FindCall(const char* name)
{
    for (const CallRow& row : kCalls) {
        if (std::strcmp(row.name, name) == 0)
            return &row;
    }
    return nullptr;
}

}  // namespace sweep
