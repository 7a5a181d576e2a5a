// What the kernel shows of the USB bus in sysfs.
#ifndef TESTS_KERNEL_USB_TREE_H
#define TESTS_KERNEL_USB_TREE_H

#include <optional>
#include <string>

namespace kernel_test
{

struct UsbDevice {
    std::string folder;  ///< in sysfs
    int number = 0;      ///< changes each time that the device is plugged in
    unsigned product = 0;
};

/// A device of the camera's vendor, whole with its interfaces.
std::optional<UsbDevice> FindCamera();
/// Driver bound to an interface; empty when there is none.
std::string DriverOf(const UsbDevice& device, unsigned interface);
/// Driver bound to each interface, for messages.
std::string DriversOf(const UsbDevice& device);
/// Path of the first entry in a folder whose name begins so; empty without one.
std::string FindEntry(const std::string& folder, const std::string& prefix,
                      const std::string& suffix = {});

}  // namespace kernel_test

#endif
