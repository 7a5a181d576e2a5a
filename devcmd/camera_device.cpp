#include "devcmd/camera_device.h"

#include "devcmd/usb_identity.h"
#include "runtime/debug_log.h"

namespace {

constexpr char kInit[] = "Init";

libusb_device_handle* OpenByIdentity(const UsbContext& context, int vid, int pid)
{
    if (!context.IsReady())
        return nullptr;
    libusb_device_handle* handle = libusb_open_device_with_vid_pid(
        context.Get(), static_cast<std::uint16_t>(vid), static_cast<std::uint16_t>(pid));
    if (handle != nullptr)
        return handle;
    handle = libusb_open_device_with_vid_pid(context.Get(), CTRL_FALLBACK_VENDOR_ID,
                                             CTRL_FALLBACK_PRODUCT_ID);
    if (handle != nullptr) {
        CAM_LOG_AS(kInit, kLogDebugging, "Found an KEL device VID=0x%X, PID=0x%X\r\n",
                   CTRL_FALLBACK_VENDOR_ID, CTRL_FALLBACK_PRODUCT_ID);
    }
    return handle;
}

}  // namespace

CameraDevice OpenCameraDevice(const UsbContext& context, int vid, int pid)
{
    libusb_device_handle* const handle = OpenByIdentity(context, vid, pid);
    if (handle == nullptr) {
        CAM_LOG_AS(kInit, kLogDebugging, "KEL Camera Device not found\n");
        return {};
    }
    libusb_device* const device = libusb_get_device(handle);
    int configuration = 0;
    if (libusb_get_configuration(handle, &configuration) < 0) {
        CAM_LOG_AS(kInit, kLogDebugging, "libusb_get_configuration Error!\n");
        libusb_close(handle);
        return {};
    }
    return {handle, device};
}

void DetachKernelDriver(libusb_device_handle* handle, int interface)
{
    if (libusb_kernel_driver_active(handle, interface) == 0)
        return;
    const int result = libusb_detach_kernel_driver(handle, interface);
    if (result < 0)
        CAM_LOG_AS(kInit, kLogDebugging, "libusb_detach_kernel_driver fail!(%d)\n", result);
}
