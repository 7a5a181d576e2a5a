#include "usb/keep_loaded.h"

#include <dlfcn.h>
#include <libusb.h>

void KeepLibusbLoaded()
{
    Dl_info libusb{};
    if (dladdr(reinterpret_cast<void*>(&libusb_exit), &libusb) != 0)
        dlopen(libusb.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}
