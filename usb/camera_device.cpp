#include "usb/camera_device.h"

#include "runtime/debug_log.h"
#include "usb/alternate_setting.h"
#include "usb/usb_identity.h"

namespace {

constexpr char kInit[] = "Init";

}  // namespace

bool CameraDevice::OpenByIdentity(int vid, int pid)
{
    if (!m_context.IsReady())
        return false;
    m_handle = libusb_open_device_with_vid_pid(
        m_context.Get(), static_cast<std::uint16_t>(vid), static_cast<std::uint16_t>(pid));
    if (m_handle != nullptr)
        return true;
    m_handle = libusb_open_device_with_vid_pid(m_context.Get(), CTRL_FALLBACK_VENDOR_ID,
                                               CTRL_FALLBACK_PRODUCT_ID);
    if (m_handle == nullptr)
        return false;
    CAM_LOG_AS(kInit, kLogDebugging, "Found an KEL device VID=0x%X, PID=0x%X\r\n",
               CTRL_FALLBACK_VENDOR_ID, CTRL_FALLBACK_PRODUCT_ID);
    return true;
}

bool CameraDevice::Open(int vid, int pid)
{
    m_losses_before = DeviceLosses();
    if (!OpenByIdentity(vid, pid)) {
        CAM_LOG_AS(kInit, kLogDebugging, "KEL Camera Device not found\n");
        return false;
    }
    m_device = libusb_get_device(m_handle);
    int configuration = 0;
    if (Heed(libusb_get_configuration(m_handle, &configuration)) < 0) {
        CAM_LOG_AS(kInit, kLogDebugging, "libusb_get_configuration Error!\n");
        Close();
        return false;
    }
    return true;
}

void CameraDevice::Close()
{
    libusb_close(m_handle);
    m_handle = nullptr;
    m_device = nullptr;
}

void CameraDevice::DetachKernelDriver(int interface)
{
    if (Heed(libusb_kernel_driver_active(m_handle, interface)) == 0)
        return;
    const int result = Heed(libusb_detach_kernel_driver(m_handle, interface));
    if (result < 0)
        CAM_LOG_AS(kInit, kLogDebugging, "libusb_detach_kernel_driver fail!(%d)\n", result);
}

int CameraDevice::Claim(int interface)
{
    return Heed(libusb_claim_interface(m_handle, interface));
}

void CameraDevice::Release(int interface)
{
    Heed(libusb_release_interface(m_handle, interface));
}

int CameraDevice::SelectSetting(int interface, int setting)
{
    if (DeviceLosses() != m_losses_before && !MaySelectSetting(m_context, m_device))
        return LIBUSB_ERROR_NO_DEVICE;
    return Heed(libusb_set_interface_alt_setting(m_handle, interface, setting));
}
