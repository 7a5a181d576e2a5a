// The one way control requests leave the library.
#ifndef TORVIK_DEVCMD_CONTROL_TRANSFER_H
#define TORVIK_DEVCMD_CONTROL_TRANSFER_H

#include <libusb.h>

/// libusb_control_transfer under a process-wide lock, so that at most one
/// control transfer of the library is under way at a time. No retry.
///
/// libusb completes the request inside an event pass of the handle's context,
/// made by whichever thread gets there: completions of other transfers of that
/// context may run on the calling thread.
int libusb_control_transfer_(libusb_device_handle* handle, unsigned char requestType,
                             unsigned char request, unsigned short value, unsigned short index,
                             unsigned char* data, unsigned short length, unsigned int timeout);

#endif
