// Control requests of the device-command functions. They address the device
// recipient, not the interface, which is what the controller expects of them.
#ifndef TORVIK_DEVCMD_DEVICE_REQUESTS_H
#define TORVIK_DEVCMD_DEVICE_REQUESTS_H

#include "api/device_commands.h"
#include "devcmd/command_frames.h"
#include "devcmd/control_transfer.h"

/// bmRequestType (USB 2.0, 9.3).
enum : unsigned char {
    kClassDeviceOut = 0x20,
    kClassDeviceIn = 0xA0,
    kVendorDeviceOut = 0x40,
    kVendorDeviceIn = 0xC0,
};

/// SET_CUR on a control of an entity of interface 0; libusb's result.
inline int SetUnitControl(_KelDevHandle* device, unsigned char unit, unsigned char selector,
                          unsigned char* data, unsigned short length, unsigned timeout_ms)
{
    return libusb_control_transfer_(device->handle, kClassDeviceOut, kSetCur,
                                    static_cast<unsigned short>(selector << 8),
                                    static_cast<unsigned short>(unit << 8), data, length,
                                    timeout_ms);
}

/// GET_CUR, likewise.
inline int GetUnitControl(_KelDevHandle* device, unsigned char unit, unsigned char selector,
                          unsigned char* data, unsigned short length, unsigned timeout_ms)
{
    return libusb_control_transfer_(device->handle, kClassDeviceIn, kGetCur,
                                    static_cast<unsigned short>(selector << 8),
                                    static_cast<unsigned short>(unit << 8), data, length,
                                    timeout_ms);
}

#endif
