// Opening the camera for a transport.
#ifndef TORVIK_DEVCMD_CAMERA_DEVICE_H
#define TORVIK_DEVCMD_CAMERA_DEVICE_H

#include <libusb.h>

#include "devcmd/usb_context.h"

struct CameraDevice {
    libusb_device_handle* handle;  ///< null when it could not be opened
    libusb_device* device;         ///< of the open handle
};

/// Opens the camera by its identity, or else by the fallback identity, and
/// asks for its configuration, which fails for a device that is not set up
/// yet. Logs as the transports' Init. Where the context is not ready
/// nothing is found.
CameraDevice OpenCameraDevice(const UsbContext& context, int vid, int pid);

/// Takes an interface from a kernel driver, if one has it. A failure is logged
/// as the transports' Init and otherwise ignored.
void DetachKernelDriver(libusb_device_handle* handle, int interface);

#endif
