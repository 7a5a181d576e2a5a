#include "tests/devcmd/libusb_objects.h"

namespace {

libusb_context* g_context = nullptr;
libusb_device** g_list = nullptr;
libusb_device_handle* g_handle = nullptr;
int g_init_failure = 0;
int g_list_failure = 0;

}  // namespace

namespace libusb_objects {

libusb_context* Context() { return g_context; }
libusb_device** List() { return g_list; }
libusb_device_handle* Handle() { return g_handle; }
void FailNextInitWithContext(int code) { g_init_failure = code; }
void FailNextListWithList(int code) { g_list_failure = code; }

}  // namespace libusb_objects

extern "C" {

int __real_libusb_init(libusb_context**);
int __wrap_libusb_init(libusb_context** context)
{
    const int result = __real_libusb_init(context);
    g_context = context != nullptr ? *context : nullptr;
    const int failure = g_init_failure;
    g_init_failure = 0;
    return failure != 0 ? failure : result;
}

ssize_t __real_libusb_get_device_list(libusb_context*, libusb_device***);
ssize_t __wrap_libusb_get_device_list(libusb_context* context, libusb_device*** list)
{
    const ssize_t result = __real_libusb_get_device_list(context, list);
    g_list = *list;
    const int failure = g_list_failure;
    g_list_failure = 0;
    return failure != 0 ? failure : result;
}

int __real_libusb_open(libusb_device*, libusb_device_handle**);
int __wrap_libusb_open(libusb_device* device, libusb_device_handle** handle)
{
    const int result = __real_libusb_open(device, handle);
    g_handle = result == 0 ? *handle : nullptr;
    return result;
}
}
