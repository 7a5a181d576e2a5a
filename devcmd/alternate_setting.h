// Choosing an interface's alternate setting.
#ifndef TORVIK_DEVCMD_ALTERNATE_SETTING_H
#define TORVIK_DEVCMD_ALTERNATE_SETTING_H

#include <libusb.h>

#include "devcmd/usb_context.h"

/// libusb_set_interface_alt_setting, kept from a device that has left the bus
/// where libusb cannot bear that: some releases then give up a lock of the
/// handle that they do not hold, and closing the handle ends the process.
int SelectSetting(const UsbContext& context, libusb_device_handle* handle, int interface,
                  int setting);

#endif
