// The real header with its functions exported, although everything else of the
// stand-in is hidden.
#ifndef VIRTUAL_CAMERA_STANDIN_LIBUSB_ABI_H
#define VIRTUAL_CAMERA_STANDIN_LIBUSB_ABI_H

#pragma GCC visibility push(default)
#include <libusb.h>
#pragma GCC visibility pop

#endif
