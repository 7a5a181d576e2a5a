// Keeping libusb in memory.
#ifndef TORVIK_USB_KEEP_LOADED_H
#define TORVIK_USB_KEEP_LOADED_H

/// For a context that stays open: libusb's own thread, which watches the bus
/// for it, must not run on in memory that was taken from it when the host
/// unloads the camera library. Lasts until the process ends.
void KeepLibusbLoaded();

#endif
