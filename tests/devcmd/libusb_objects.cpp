#include "tests/devcmd/libusb_objects.h"

#include <mutex>
#include <set>

namespace {

std::mutex g_mutex;  // guards everything below
libusb_context* g_context = nullptr;
libusb_device_handle* g_handle = nullptr;
std::set<libusb_context*> g_contexts;
std::set<libusb_device**> g_lists;
std::set<libusb_device_handle*> g_handles;
int g_init_failure = 0;
int g_list_failure = 0;

using Guard = std::lock_guard<std::mutex>;

int Take(int& failure)
{
    const int taken = failure;
    failure = 0;
    return taken;
}

}  // namespace

namespace libusb_objects {

libusb_context* Context()
{
    const Guard guard(g_mutex);
    return g_context;
}

libusb_device_handle* Handle()
{
    const Guard guard(g_mutex);
    return g_handle;
}

void FailNextInitWithContext(int code)
{
    const Guard guard(g_mutex);
    g_init_failure = code;
}

void FailNextListWithList(int code)
{
    const Guard guard(g_mutex);
    g_list_failure = code;
}

void GiveBackLeftovers()
{
    std::set<libusb_device**> lists;
    std::set<libusb_device_handle*> handles;
    std::set<libusb_context*> contexts;
    {
        const Guard guard(g_mutex);
        lists = g_lists;
        handles = g_handles;
        contexts = g_contexts;
    }
    for (libusb_device** const list : lists)
        libusb_free_device_list(list, 1);
    for (libusb_device_handle* const handle : handles)
        libusb_close(handle);
    for (libusb_context* const context : contexts)
        libusb_exit(context);
}

}  // namespace libusb_objects

// Visible, since the libraries of a sanitizer refer to these names too.
#pragma GCC visibility push(default)
extern "C" {

int __real_libusb_init(libusb_context**);
int __wrap_libusb_init(libusb_context** context)
{
    const int result = __real_libusb_init(context);
    const Guard guard(g_mutex);
    g_context = result == 0 ? *context : nullptr;
    if (result == 0)
        g_contexts.insert(g_context);
    const int failure = Take(g_init_failure);
    return failure != 0 ? failure : result;
}

void __real_libusb_exit(libusb_context*);
void __wrap_libusb_exit(libusb_context* context)
{
    {
        const Guard guard(g_mutex);
        g_contexts.erase(context);
    }
    __real_libusb_exit(context);
}

ssize_t __real_libusb_get_device_list(libusb_context*, libusb_device***);
ssize_t __wrap_libusb_get_device_list(libusb_context* context, libusb_device*** list)
{
    const ssize_t result = __real_libusb_get_device_list(context, list);
    const Guard guard(g_mutex);
    if (*list != nullptr)
        g_lists.insert(*list);
    const int failure = Take(g_list_failure);
    return failure != 0 ? failure : result;
}

void __real_libusb_free_device_list(libusb_device**, int);
void __wrap_libusb_free_device_list(libusb_device** list, int unreference)
{
    {
        const Guard guard(g_mutex);
        g_lists.erase(list);
    }
    __real_libusb_free_device_list(list, unreference);
}

int __real_libusb_open(libusb_device*, libusb_device_handle**);
int __wrap_libusb_open(libusb_device* device, libusb_device_handle** handle)
{
    const int result = __real_libusb_open(device, handle);
    const Guard guard(g_mutex);
    g_handle = result == 0 ? *handle : nullptr;
    if (result == 0)
        g_handles.insert(g_handle);
    return result;
}

void __real_libusb_close(libusb_device_handle*);
void __wrap_libusb_close(libusb_device_handle* handle)
{
    {
        const Guard guard(g_mutex);
        g_handles.erase(handle);
    }
    __real_libusb_close(handle);
}
}
#pragma GCC visibility pop
