// Names, versions, options, and what this library does not offer.
#include <array>
#include <cstdint>

#include "virtual_camera/standin/bus.h"
#include "virtual_camera/standin/libusb_abi.h"

namespace {

struct ErrorText {
    int code;
    const char* name;
    const char* text;
};

constexpr std::array<ErrorText, 14> kErrors{{
    {LIBUSB_SUCCESS, "LIBUSB_SUCCESS", "Success"},
    {LIBUSB_ERROR_IO, "LIBUSB_ERROR_IO", "Input/Output Error"},
    {LIBUSB_ERROR_INVALID_PARAM, "LIBUSB_ERROR_INVALID_PARAM", "Invalid parameter"},
    {LIBUSB_ERROR_ACCESS, "LIBUSB_ERROR_ACCESS", "Access denied (insufficient permissions)"},
    {LIBUSB_ERROR_NO_DEVICE, "LIBUSB_ERROR_NO_DEVICE",
     "No such device (it may have been disconnected)"},
    {LIBUSB_ERROR_NOT_FOUND, "LIBUSB_ERROR_NOT_FOUND", "Entity not found"},
    {LIBUSB_ERROR_BUSY, "LIBUSB_ERROR_BUSY", "Resource busy"},
    {LIBUSB_ERROR_TIMEOUT, "LIBUSB_ERROR_TIMEOUT", "Operation timed out"},
    {LIBUSB_ERROR_OVERFLOW, "LIBUSB_ERROR_OVERFLOW", "Overflow"},
    {LIBUSB_ERROR_PIPE, "LIBUSB_ERROR_PIPE", "Pipe error"},
    {LIBUSB_ERROR_INTERRUPTED, "LIBUSB_ERROR_INTERRUPTED",
     "System call interrupted (perhaps due to signal)"},
    {LIBUSB_ERROR_NO_MEM, "LIBUSB_ERROR_NO_MEM", "Insufficient memory"},
    {LIBUSB_ERROR_NOT_SUPPORTED, "LIBUSB_ERROR_NOT_SUPPORTED",
     "Operation not supported or unimplemented on this platform"},
    {LIBUSB_ERROR_OTHER, "LIBUSB_ERROR_OTHER", "Other error"},
}};

const ErrorText* Find(int code)
{
    for (const ErrorText& error : kErrors)
        if (error.code == code)
            return &error;
    return nullptr;
}

}  // namespace

extern "C" {

const char* LIBUSB_CALL libusb_error_name(int code)
{
    const ErrorText* const error = Find(code);
    return error ? error->name : "**UNKNOWN**";
}

const char* LIBUSB_CALL libusb_strerror(int code)
{
    const ErrorText* const error = Find(code);
    return error ? error->text : "Other error";
}

int LIBUSB_CALL libusb_setlocale(const char*)
{
    return LIBUSB_SUCCESS;
}

const libusb_version* LIBUSB_CALL libusb_get_version(void)
{
    return vcam::standin::Bus::Instance().Version();
}

int LIBUSB_CALL libusb_has_capability(std::uint32_t capability)
{
    return capability == LIBUSB_CAP_HAS_CAPABILITY ||
                   capability == LIBUSB_CAP_SUPPORTS_DETACH_KERNEL_DRIVER
               ? 1
               : 0;
}

void LIBUSB_CALL libusb_set_debug(libusb_context*, int) {}

void LIBUSB_CALL libusb_set_log_cb(libusb_context*, libusb_log_cb, int) {}

int LIBUSB_CALL libusb_set_option(libusb_context*, libusb_option option, ...)
{
    return option == LIBUSB_OPTION_LOG_LEVEL ? LIBUSB_SUCCESS : LIBUSB_ERROR_NOT_SUPPORTED;
}

int LIBUSB_CALL libusb_hotplug_register_callback(libusb_context*, int, int, int, int, int,
                                                 libusb_hotplug_callback_fn, void*,
                                                 libusb_hotplug_callback_handle*)
{
    return LIBUSB_ERROR_NOT_SUPPORTED;
}

void LIBUSB_CALL libusb_hotplug_deregister_callback(libusb_context*, libusb_hotplug_callback_handle)
{
}

void* LIBUSB_CALL libusb_hotplug_get_user_data(libusb_context*, libusb_hotplug_callback_handle)
{
    return nullptr;
}

const libusb_pollfd** LIBUSB_CALL libusb_get_pollfds(libusb_context*)
{
    return nullptr;  // events come without file descriptors here
}

void LIBUSB_CALL libusb_free_pollfds(const libusb_pollfd**) {}

void LIBUSB_CALL libusb_set_pollfd_notifiers(libusb_context*, libusb_pollfd_added_cb,
                                             libusb_pollfd_removed_cb, void*)
{
}
}
