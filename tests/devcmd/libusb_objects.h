// What libusb gave to the library, so that a test can give back what the
// library leaves open on purpose, and hand out what libusb never does.
#ifndef TESTS_DEVCMD_LIBUSB_OBJECTS_H
#define TESTS_DEVCMD_LIBUSB_OBJECTS_H

#include <libusb.h>

namespace libusb_objects {

/// The last ones handed out.
libusb_context* Context();
libusb_device_handle* Handle();

/// Gives back every list, handle and context that is still out.
void GiveBackLeftovers();

/// The next libusb_init makes a context and fails all the same.
void FailNextInitWithContext(int code);
/// The next libusb_get_device_list makes a list and fails all the same.
void FailNextListWithList(int code);

}  // namespace libusb_objects

#endif
