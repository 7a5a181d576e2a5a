// Choosing an interface's alternate setting when the device may be gone.
#ifndef TORVIK_USB_ALTERNATE_SETTING_H
#define TORVIK_USB_ALTERNATE_SETTING_H

#include <libusb.h>

#include "usb/usb_context.h"

/// Some releases of libusb, asked for an alternate setting of a device that has
/// left the bus, give up a lock of the handle that they do not hold, and closing
/// the handle then ends the process. False when this libusb is one of them and
/// does not list `device` any more. To be asked only when something has told
/// that the device is gone: looking through the list is no part of ordinary
/// work.
bool MaySelectSetting(const UsbContext& context, libusb_device* device);

#endif
