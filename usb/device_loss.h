// What the bus has said of devices that left.
#ifndef TORVIK_USB_DEVICE_LOSS_H
#define TORVIK_USB_DEVICE_LOSS_H

/// Takes note that a call or a completion said "no device" on one of the driver's
/// own handles of the camera. They lose it together, but not each of them is told:
/// the kernel ends transfers with other errors, too. Any thread.
void NoteDeviceLoss();

/// @return how often that was noted; wraps
unsigned DeviceLosses();

#endif
