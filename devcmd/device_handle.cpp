// Finding, opening and closing the controller.

#include <libusb.h>
#include <new>

#include "api/device_commands.h"
#include "runtime/debug_log.h"
#include "usb/keep_loaded.h"

namespace {

constexpr int kLastClaimable = kNoInterface - 1;

void FreeList(libusb_device** list, ssize_t count)
{
    // Any non-zero second argument drops the list's references to its devices.
    libusb_free_device_list(list, static_cast<int>(count));
}

/// True when libusb_init failed; logged, and nothing is left of the context.
bool InitFailed(const char* function, int error, libusb_context* context)
{
    if (error >= 0)
        return false;
    if (context != nullptr)
        libusb_exit(context);
    CAM_LOG_AS(function, kLogFatal, "libusb_init return error 0x%X,\r\n",
               static_cast<unsigned>(error));
    return true;
}

/// Takes an interface from the kernel, if one is wanted; libusb's result.
int ClaimForController(libusb_device_handle* handle, unsigned char interface)
{
    int result = 0;
    if (interface != kNoInterface) {
        libusb_detach_kernel_driver(handle, interface);
        result = libusb_claim_interface(handle, interface);
    }
    CAM_LOG_AS("OpenKelDevice", kLogDebugging,
               "OpenKelDevice claim interface. interface=%d hr=%d\r\n", interface, result);
    return result;
}

void Close(const _KelDevHandle& device)
{
    if (device.interface <= kLastClaimable)
        libusb_release_interface(device.handle, device.interface);
    libusb_close(device.handle);
    libusb_exit(device.context);
}

/// Null when there is none; then the context is gone too.
libusb_device** GetList(const char* function, libusb_context* context, ssize_t& count,
                        bool log_count)
{
    libusb_device** list = nullptr;
    count = libusb_get_device_list(context, &list);
    if (log_count)
        CAM_LOG_AS(function, kLogDebugging, "device count=%d.\r\n", static_cast<int>(count));
    if (count < 0) {
        CAM_LOG_AS(function, kLogFatal, "libusb_get_device_list error 0x%x \r\n",
                   static_cast<unsigned>(count));
        if (list != nullptr)
            FreeList(list, count);
        list = nullptr;
    }
    if (list == nullptr)
        libusb_exit(context);
    return list;
}

}  // namespace

libusb_device* FindKelDevice(libusb_device** list, unsigned short vendorId,
                             unsigned short productId)
{
    if (list == nullptr)
        return nullptr;
    for (; *list != nullptr; ++list) {
        libusb_device_descriptor descriptor = {};
        if (libusb_get_device_descriptor(*list, &descriptor) < 0) {
            CAM_LOG(kLogFatal, "failed to get device descriptor");
            return nullptr;
        }
        if (descriptor.idVendor == vendorId && descriptor.idProduct == productId)
            return *list;
    }
    return nullptr;
}

bool CheckDeviceExist(unsigned short vendorId, unsigned short productId)
{
    libusb_context* context = nullptr;
    CAM_LOG(kLogDebugging, "lubusb initialized. \r\n");
    const int init_error = libusb_init(&context);
    if (InitFailed(__func__, init_error, context))
        return false;

    CAM_LOG(kLogDebugging, "libusb_get_device_list\r\n");
    ssize_t count = 0;
    libusb_device** const list = GetList(__func__, context, count, true);
    if (list == nullptr)
        return false;

    const bool found = FindKelDevice(list, vendorId, productId) != nullptr;
    if (found) {
        CAM_LOG(kLogDebugging, "free device list\r\n");
        FreeList(list, count);
        CAM_LOG(kLogDebugging, "libusb_exit\r\n");
    } else {
        CAM_LOG(kLogFatal, "No KEL device has been detected.\r\n");
        CAM_LOG(kLogFatal, "free device list\r\n");
        CAM_LOG(kLogFatal, "libusb_exit\r\n");
        FreeList(list, count);
    }
    libusb_exit(context);
    return found;
}

_KelDevHandle* OpenKelDevice(unsigned short vendorId, unsigned short productId,
                             unsigned char interface)
{
    libusb_context* context = nullptr;
    const int init_error = libusb_init(&context);
    CAM_LOG(kLogDebugging, "libusb initialized. \r\n");
    if (InitFailed(__func__, init_error, context))
        return nullptr;

    ssize_t count = 0;
    libusb_device** const list = GetList(__func__, context, count, false);
    if (list == nullptr)
        return nullptr;

    CAM_LOG(kLogDebugging, "get device list.\r\n");
    libusb_device* const device = FindKelDevice(list, vendorId, productId);
    if (device == nullptr) {
        CAM_LOG(kLogFatal, "No KEL device has been detected.\r\n");
        FreeList(list, count);
        libusb_exit(context);
        return nullptr;
    }

    CAM_LOG(kLogDebugging, "found a usb device.\r\n");
    libusb_device_handle* handle = nullptr;
    if (libusb_open(device, &handle) < 0) {
        // The context stays open: a controller that refuses to open is about to
        // re-enumerate, and the loader tries again with a new context.
        KeepLibusbLoaded();
        FreeList(list, count);
        return nullptr;
    }

    if (ClaimForController(handle, interface) < 0) {
        KeepLibusbLoaded();
        return nullptr;  // handle, list and context stay as they are, as above
    }

    auto* const opened = new (std::nothrow) _KelDevHandle{handle, context, interface};
    FreeList(list, count);
    if (opened == nullptr)
        Close({handle, context, interface});
    return opened;
}

void CloseKelDevice(_KelDevHandle* device)
{
    if (device == nullptr)
        return;
    Close(*device);
    delete device;
}
