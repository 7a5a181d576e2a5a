// The camera, opened for a transport.
#ifndef TORVIK_USB_CAMERA_DEVICE_H
#define TORVIK_USB_CAMERA_DEVICE_H

#include <libusb.h>

#include "usb/device_loss.h"
#include "usb/usb_context.h"

/// One transport's handle of the camera. It knows whether anything has said since
/// it was opened that the device is gone, because selecting an alternate setting
/// then needs care; so every result of a call that takes the handle goes through
/// Heed.
///
/// Open and Close are the owner's, while nobody else uses the handle; the rest
/// may be called on any thread. Open and DetachKernelDriver log as the
/// transports' Init.
class CameraDevice
{
public:
    /// Closed. `context` must outlive this object.
    explicit CameraDevice(const UsbContext& context) : m_context(context) {}
    CameraDevice(const CameraDevice&) = delete;
    CameraDevice& operator=(const CameraDevice&) = delete;

    /// Opens the camera by its identity, or else by the fallback identity, and
    /// asks for its configuration, which fails for a device that is not set up
    /// yet. False when that cannot be done; where the context is not ready
    /// nothing is found.
    bool Open(int vid, int pid);
    void Close();
    bool IsOpen() const { return m_handle != nullptr; }
    libusb_device_handle* Handle() const { return m_handle; }  ///< null when closed
    libusb_device* Device() const { return m_device; }         ///< of the open handle

    /// Takes an interface from a kernel driver, if one has it. A failure is
    /// logged and otherwise ignored.
    void DetachKernelDriver(int interface);
    int Claim(int interface);    ///< libusb's result
    void Release(int interface);
    /// Libusb's result. See alternate_setting.h for a device that has gone.
    int SelectSetting(int interface, int setting);

    /// Takes note of what a call said.
    ///
    /// @param result  libusb's, of a call on this handle
    /// @return the same
    int Heed(int result)
    {
        if (result == LIBUSB_ERROR_NO_DEVICE)
            HeedLoss();
        return result;
    }
    /// A transfer completed because the device is gone.
    void HeedLoss() { NoteDeviceLoss(); }

private:
    bool OpenByIdentity(int vid, int pid);

    const UsbContext& m_context;
    // Constant while the device is open.
    libusb_device_handle* m_handle = nullptr;
    libusb_device* m_device = nullptr;
    unsigned m_losses_before = 0;  ///< before it was opened
};

#endif
