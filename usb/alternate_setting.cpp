#include "usb/alternate_setting.h"

#include <dlfcn.h>

#include <algorithm>
#include <iterator>

// Absent from libusb before 1.0.10.
extern "C" __attribute__((weak)) const libusb_version* LIBUSB_CALL libusb_get_version(void);

namespace {

struct Release {
    unsigned micro;
    unsigned nano;
};

/// Of libusb 1.0, those that unlock instead of locking.
constexpr Release kUnlockingReleases[] = {{25, 11693}, {26, 11724}};

/// A release number speaks for the library that tells it, not for another one
/// that takes some calls in front of it.
bool VersionIsOfTheSelectingLibrary()
{
    Dl_info teller{};
    Dl_info selector{};
    return dladdr(reinterpret_cast<void*>(&libusb_get_version), &teller) != 0 &&
           dladdr(reinterpret_cast<void*>(&libusb_set_interface_alt_setting), &selector) != 0 &&
           teller.dli_fbase == selector.dli_fbase;
}

bool UnlocksForAbsentDevices()
{
    if (libusb_get_version == nullptr || !VersionIsOfTheSelectingLibrary())
        return false;
    const libusb_version& version = *libusb_get_version();
    return std::any_of(std::begin(kUnlockingReleases), std::end(kUnlockingReleases),
                       [&version](const Release& release) {
                           return version.major == 1 && version.minor == 0 &&
                                  version.micro == release.micro && version.nano == release.nano;
                       });
}

/// Listing also takes in what libusb was told of the bus and has not looked at
/// yet.
bool IsListed(const UsbContext& context, libusb_device* device)
{
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(context.Get(), &list);
    if (count < 0)
        return false;
    const bool listed = std::find(list, list + count, device) != list + count;
    libusb_free_device_list(list, 1);
    return listed;
}

}  // namespace

bool MaySelectSetting(const UsbContext& context, libusb_device* device)
{
    return !UnlocksForAbsentDevices() || IsListed(context, device);
}
