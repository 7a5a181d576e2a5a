// A libusb that costs next to nothing: no bus, no locks to speak of, one device
// that is always there. Transfers complete inside event handling, at once or
// when the device has data.
#ifndef TORVIK_BENCH_FLAT_LIBUSB_H
#define TORVIK_BENCH_FLAT_LIBUSB_H

#include <memory>

#include "virtual_camera/usb_device.h"

namespace bench {

/// With a device, transfers and requests go to it, and CPU time spent in it is
/// counted apart. Without one, every request succeeds and bulk transfers
/// complete at once with what their buffers hold.
void UseDevice(std::shared_ptr<vcam::UsbDevice> device);

/// Called for each bulk transfer without a device, before it completes.
using PayloadHeader = void (*)(unsigned char* payload, int length);
void UsePayloadHeader(PayloadHeader header);

/// CPU seconds spent inside the device so far, on all threads.
double DeviceCpuSeconds();

}  // namespace bench

#endif
