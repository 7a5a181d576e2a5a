#include "host/usb_progress.h"

#include <dlfcn.h>

#include <atomic>

struct libusb_device_handle;

namespace host {
namespace {

std::atomic<std::uint32_t> g_sent{0};
std::atomic<bool> g_burning{false};

constexpr unsigned char kDownloadEndpoint = 0x01;
constexpr std::uint8_t kVendorOut = 0x40;
constexpr std::uint8_t kExtensionOut = 0x20;
constexpr std::uint16_t kExtensionUnit = 0x0600;
constexpr unsigned kDataSelector = 3;
constexpr unsigned kCommandSelector = 4;

/// The real one, or its stand-in: whichever the camera library was linked to.
void* Next(const char* name)
{
    void* handle = dlopen("libusb-1.0.so.0", RTLD_NOW | RTLD_NOLOAD);
    return handle != nullptr ? dlsym(handle, name) : nullptr;
}

void NoteControl(std::uint8_t type, std::uint8_t request, std::uint16_t value,
                 std::uint16_t index, const unsigned char* data, std::uint16_t length)
{
    if (type == kVendorOut && request >= 0x03 && request <= 0x08 && request != 0x04) {
        g_burning = true;
    } else if (type == kExtensionOut && index == kExtensionUnit) {
        const unsigned selector = value >> 8;
        if (selector == kDataSelector) {
            g_sent += length;
        } else if (selector == kCommandSelector && length >= 3 && data[0] == 1 && data[1] == 1 &&
                   data[2] == 3) {
            g_burning = true;
        }
    }
}

}  // namespace

DownloadState CurrentDownload()
{
    return {g_sent, g_burning};
}

void ResetDownload()
{
    g_sent = 0;
    g_burning = false;
}

}  // namespace host

extern "C" {

#pragma GCC visibility push(default)

int libusb_control_transfer(libusb_device_handle* handle, std::uint8_t type, std::uint8_t request,
                            std::uint16_t value, std::uint16_t index, unsigned char* data,
                            std::uint16_t length, unsigned int timeout)
{
    using Function = int (*)(libusb_device_handle*, std::uint8_t, std::uint8_t, std::uint16_t,
                             std::uint16_t, unsigned char*, std::uint16_t, unsigned int);
    static const auto next = reinterpret_cast<Function>(host::Next("libusb_control_transfer"));
    host::NoteControl(type, request, value, index, data, length);
    return next != nullptr ? next(handle, type, request, value, index, data, length, timeout) : -99;
}

int libusb_bulk_transfer(libusb_device_handle* handle, unsigned char endpoint, unsigned char* data,
                         int length, int* transferred, unsigned int timeout)
{
    using Function =
        int (*)(libusb_device_handle*, unsigned char, unsigned char*, int, int*, unsigned int);
    static const auto next = reinterpret_cast<Function>(host::Next("libusb_bulk_transfer"));
    const int result =
        next != nullptr ? next(handle, endpoint, data, length, transferred, timeout) : -99;
    if (endpoint == host::kDownloadEndpoint && length > 0) {
        host::g_sent += static_cast<std::uint32_t>(length);
    }
    return result;
}

#pragma GCC visibility pop
}
