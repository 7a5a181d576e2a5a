#include "bench/flat_libusb.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <libusb.h>
#include <mutex>
#include <time.h>
#include <vector>

#include "bench/report.h"

struct libusb_device {
};
struct libusb_context {
    std::mutex lock;
    std::vector<libusb_transfer*> submitted;
};
struct libusb_device_handle {
    libusb_context* context;
};

namespace {

libusb_device g_device;
std::shared_ptr<vcam::UsbDevice> g_model;
std::mutex g_model_lock;
bench::PayloadHeader g_header = nullptr;
std::atomic<double> g_device_cpu{0};
constexpr vcam::TimeUs kPollUs = 1000;

vcam::TimeUs Now()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<vcam::TimeUs>(now.tv_sec) * 1000000U +
           static_cast<vcam::TimeUs>(now.tv_nsec) / 1000U;
}

/// Charges the CPU time of its lifetime to the device.
class DeviceTime {
public:
    DeviceTime() : m_guard(g_model_lock), m_start(bench::ThreadCpuSeconds()) {}
    ~DeviceTime() { g_device_cpu = g_device_cpu + bench::ThreadCpuSeconds() - m_start; }

private:
    std::lock_guard<std::mutex> m_guard;
    double m_start;
};

/// Without a device one thread does everything, and a lock would make it wait
/// for its own copying.
std::unique_lock<std::mutex> Lock(libusb_context& context)
{
    return g_model != nullptr ? std::unique_lock<std::mutex>(context.lock)
                              : std::unique_lock<std::mutex>(context.lock, std::defer_lock);
}

/// True when the transfer is complete; otherwise `ready_at` says when to ask again.
bool Fill(libusb_transfer* transfer, vcam::TimeUs& ready_at)
{
    transfer->status = LIBUSB_TRANSFER_COMPLETED;
    if (g_model == nullptr) {
        transfer->actual_length = transfer->length;
        if (g_header != nullptr)
            g_header(transfer->buffer, transfer->length);
        return transfer->type == LIBUSB_TRANSFER_TYPE_BULK;
    }
    const DeviceTime time;
    vcam::TransferResult result;
    if (transfer->type == LIBUSB_TRANSFER_TYPE_BULK) {
        result = g_model->BulkIn(transfer->endpoint, transfer->buffer,
                                 static_cast<std::size_t>(transfer->length), Now());
        transfer->actual_length = static_cast<int>(result.length);
    } else {
        std::vector<vcam::IsoPacket> packets(static_cast<std::size_t>(transfer->num_iso_packets));
        unsigned char* data = transfer->buffer;
        for (std::size_t i = 0; i < packets.size(); ++i) {
            packets[i] = {data, transfer->iso_packet_desc[i].length, 0,
                          vcam::TransferStatus::kCompleted};
            data += transfer->iso_packet_desc[i].length;
        }
        result = g_model->IsoIn(transfer->endpoint, packets.data(), packets.size(), Now());
        for (std::size_t i = 0; i < packets.size(); ++i)
            transfer->iso_packet_desc[i].actual_length =
                static_cast<unsigned>(packets[i].length);
    }
    ready_at = std::min(ready_at, result.ready_at);
    return result.status == vcam::TransferStatus::kCompleted;
}

}  // namespace

namespace bench {

void UseDevice(std::shared_ptr<vcam::UsbDevice> device)
{
    g_model = std::move(device);
}

void UsePayloadHeader(PayloadHeader header)
{
    g_header = header;
}

double DeviceCpuSeconds()
{
    return g_device_cpu;
}

}  // namespace bench

extern "C" {

int libusb_init(libusb_context** context)
{
    *context = new libusb_context;
    return 0;
}
void libusb_exit(libusb_context* context)
{
    delete context;
}
ssize_t libusb_get_device_list(libusb_context*, libusb_device*** list)
{
    *list = static_cast<libusb_device**>(std::calloc(2, sizeof(libusb_device*)));
    (*list)[0] = &g_device;
    return 1;
}
void libusb_free_device_list(libusb_device** list, int)
{
    std::free(list);
}
int libusb_get_device_descriptor(libusb_device*, libusb_device_descriptor* descriptor)
{
    *descriptor = {};
    descriptor->idVendor = TORVIK_CAM_VENDOR_ID;
    descriptor->idProduct = TORVIK_CAM_PRODUCT_ID;
    return 0;
}
int libusb_open(libusb_device*, libusb_device_handle** handle)
{
    *handle = new libusb_device_handle{nullptr};
    return 0;
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
int libusb_set_interface_alt_setting(libusb_device_handle*, int interface, int setting)
{
    if (g_model != nullptr) {
        const DeviceTime time;
        g_model->SetAlternateSetting(static_cast<unsigned>(interface),
                                     static_cast<unsigned>(setting), Now());
    }
    return 0;
}
int libusb_get_max_packet_size(libusb_device*, unsigned char)
{
    return 512;
}
int libusb_get_max_iso_packet_size(libusb_device*, unsigned char)
{
    return 192;
}
int libusb_control_transfer(libusb_device_handle*, uint8_t type, uint8_t request, uint16_t value,
                            uint16_t index, unsigned char* data, uint16_t length, unsigned)
{
    if (g_model == nullptr)
        return length;
    const DeviceTime time;
    const vcam::SetupPacket setup = {type, request, value, index, length};
    const vcam::TransferResult result = g_model->Control(setup, data, Now());
    return result.status == vcam::TransferStatus::kCompleted ? static_cast<int>(result.length)
                                                             : LIBUSB_ERROR_PIPE;
}
int libusb_bulk_transfer(libusb_device_handle*, unsigned char, unsigned char*, int length,
                         int* moved, unsigned)
{
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
    libusb_context* const context = transfer->dev_handle->context;
    const std::unique_lock<std::mutex> guard = Lock(*context);
    context->submitted.push_back(transfer);
    return 0;
}
int libusb_cancel_transfer(libusb_transfer* transfer)
{
    transfer->status = LIBUSB_TRANSFER_CANCELLED;
    return 0;
}
int libusb_handle_events_timeout(libusb_context* context, timeval* limit)
{
    vcam::TimeUs end = 0;  // the clock is read only when there is nothing to do
    static thread_local std::vector<libusb_transfer*> batch;
    for (;;) {
        {
            const std::unique_lock<std::mutex> guard = Lock(*context);
            batch.swap(context->submitted);
        }
        bool progress = false;
        vcam::TimeUs ready_at = vcam::kNever;
        for (libusb_transfer* const transfer : batch) {
            if (transfer->status == LIBUSB_TRANSFER_CANCELLED || Fill(transfer, ready_at)) {
                progress = true;
                transfer->callback(transfer);
            } else {
                libusb_submit_transfer(transfer);
            }
        }
        batch.clear();
        if (progress)
            return 0;
        const vcam::TimeUs now = Now();
        if (end == 0)
            end = now + static_cast<vcam::TimeUs>(limit->tv_usec);
        if (now >= end)
            return 0;
        const vcam::TimeUs until = std::min({ready_at, end, now + 20 * kPollUs});
        if (until > now) {
            const timespec pause = {0, static_cast<long>((until - now) * 1000)};
            nanosleep(&pause, nullptr);
        }
    }
}
}
