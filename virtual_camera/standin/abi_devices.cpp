// Contexts, device lists, device handles.
#include <cstring>

#include "virtual_camera/standin/core.h"

using namespace vcam;
using namespace vcam::standin;

namespace {

void ListNothing(Call&) {}

std::uint16_t Word(const std::vector<std::uint8_t>& bytes, std::size_t at)
{
    return static_cast<std::uint16_t>(bytes[at] | (bytes[at + 1] << 8));
}

ssize_t MakeList(libusb_context* context, libusb_device*** list)
{
    Core& core = Core::Get();
    Lock lock(core.Mutex());
    const std::vector<libusb_device*> devices = core.ListDevices(context);
    auto** const made = new libusb_device*[devices.size() + 1];
    for (std::size_t i = 0; i < devices.size(); ++i) {
        core.Reference(devices[i]);
        made[i] = devices[i];
    }
    made[devices.size()] = nullptr;
    ++core.device_lists;
    *list = made;
    return static_cast<ssize_t>(devices.size());
}

int OpenHandle(libusb_device* device, libusb_device_handle** handle)
{
    Core& core = Core::Get();
    Lock lock(core.Mutex());
    core.Refresh(Now());
    if (!device->context->open) {
        core.ReportMisuse("libusb_open: the context is closed");
        return LIBUSB_ERROR_INVALID_PARAM;
    }
    if (device->references <= 0)
        core.ReportMisuse("libusb_open: the device has no reference left");
    if (device->connection->gone)
        return LIBUSB_ERROR_NO_DEVICE;
    *handle = core.OpenDevice(device);
    return LIBUSB_SUCCESS;
}

}  // namespace

extern "C" {

int LIBUSB_CALL libusb_init(libusb_context** context)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_init);
    if (scope.Begin(ListNothing))
        return scope.End(scope.Failure());
    core.PopulateOnce();
    libusb_context* const made = core.Open(context == nullptr);
    if (context)
        *context = made;
    return scope.End<int>(LIBUSB_SUCCESS);
}

void LIBUSB_CALL libusb_exit(libusb_context* context)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_exit);
    scope.Begin(ListNothing);
    if (libusb_context* const open = core.Resolve(context, "libusb_exit"))
        core.Close(open);
    scope.End();
}

ssize_t LIBUSB_CALL libusb_get_device_list(libusb_context* context, libusb_device*** list)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_get_device_list);
    if (scope.Begin(ListNothing))
        return scope.End<ssize_t>(scope.Failure());
    context = core.Resolve(context, "libusb_get_device_list");
    if (!context)
        return scope.End<ssize_t>(LIBUSB_ERROR_INVALID_PARAM);
    return scope.End(MakeList(context, list));
}

void LIBUSB_CALL libusb_free_device_list(libusb_device** list, int unreference)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_free_device_list);
    scope.Begin([unreference](Call& call) { call.value = unreference; });
    if (list) {
        Lock lock(core.Mutex());
        for (libusb_device** device = list; *device && unreference != 0; ++device)
            core.Unreference(*device, "libusb_free_device_list");
        --core.device_lists;
        delete[] list;
    }
    scope.End();
}

libusb_device* LIBUSB_CALL libusb_ref_device(libusb_device* device)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_ref_device);
    scope.Begin(ListNothing);
    Lock lock(core.Mutex());
    core.Reference(device);
    lock.unlock();
    return scope.End(device);
}

void LIBUSB_CALL libusb_unref_device(libusb_device* device)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_unref_device);
    scope.Begin(ListNothing);
    if (device) {
        Lock lock(core.Mutex());
        core.Unreference(device, "libusb_unref_device");
    }
    scope.End();
}

int LIBUSB_CALL libusb_get_device_descriptor(libusb_device* device, libusb_device_descriptor* out)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_get_device_descriptor);
    if (scope.Begin(ListNothing))
        return scope.End(scope.Failure());
    Lock lock(core.Mutex());
    const std::vector<std::uint8_t>& bytes = device->connection->device_descriptor;
    std::memcpy(out, bytes.data(), LIBUSB_DT_DEVICE_SIZE);
    out->bcdUSB = Word(bytes, 2);
    out->idVendor = Word(bytes, 8);
    out->idProduct = Word(bytes, 10);
    out->bcdDevice = Word(bytes, 12);
    lock.unlock();
    return scope.End<int>(LIBUSB_SUCCESS);
}

libusb_device* LIBUSB_CALL libusb_get_device(libusb_device_handle* handle)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_get_device);
    scope.Begin([handle](Call& call) { call.handle = handle; });
    Lock lock(core.Mutex());
    libusb_device* const device =
        core.CheckOpen(handle, "libusb_get_device") ? handle->device : nullptr;
    lock.unlock();
    return scope.End(device);
}

int LIBUSB_CALL libusb_open(libusb_device* device, libusb_device_handle** handle)
{
    CallScope scope(Core::Get().Calls(), Function::k_open);
    if (scope.Begin(ListNothing))
        return scope.End(scope.Failure());
    const int result = OpenHandle(device, handle);
    scope.Add([handle, result](Call& call) { call.handle = result == 0 ? *handle : nullptr; });
    return scope.End(result);
}

libusb_device_handle* LIBUSB_CALL libusb_open_device_with_vid_pid(libusb_context* context,
                                                                  std::uint16_t vendor,
                                                                  std::uint16_t product)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_open_device_with_vid_pid);
    libusb_device_handle* handle = nullptr;
    const bool fails = scope.Begin([vendor, product](Call& call) {
        call.vendor_id = vendor;
        call.product_id = product;
    });
    if (!fails)
        context = core.Resolve(context, "libusb_open_device_with_vid_pid");
    if (fails || !context)
        return scope.End(handle);
    Lock lock(core.Mutex());
    for (libusb_device* device : core.ListDevices(context)) {
        const std::vector<std::uint8_t>& bytes = device->connection->device_descriptor;
        if (Word(bytes, 8) == vendor && Word(bytes, 10) == product) {
            handle = core.OpenDevice(device);
            break;
        }
    }
    lock.unlock();
    scope.Add([handle](Call& call) { call.handle = handle; });
    return scope.End(handle);
}

void LIBUSB_CALL libusb_close(libusb_device_handle* handle)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_close);
    scope.Begin([handle](Call& call) { call.handle = handle; });
    Lock lock(core.Mutex());
    const bool open = !handle || core.CheckOpen(handle, "libusb_close");
    lock.unlock();
    if (handle && open) {
        libusb_context* const context = handle->context;
        const bool from_call_back = InsidePass(context);
        if (!from_call_back) {
            // The event handler must be out of its pass before the handle dies.
            ++context->closing;
            context->interrupted = true;
            context->wake.Bump();
            LockEvents(context);
        }
        lock.lock();
        core.CloseHandle(handle);
        lock.unlock();
        if (!from_call_back) {
            --context->closing;
            context->interrupted = context->closing.load() > 0;
            UnlockEvents(context);
        }
    }
    scope.End();
}

std::uint8_t LIBUSB_CALL libusb_get_bus_number(libusb_device*)
{
    return 1;
}

std::uint8_t LIBUSB_CALL libusb_get_device_address(libusb_device* device)
{
    Lock lock(Core::Get().Mutex());
    return device->connection->address;
}

std::uint8_t LIBUSB_CALL libusb_get_port_number(libusb_device* device)
{
    return libusb_get_device_address(device);
}

int LIBUSB_CALL libusb_get_port_numbers(libusb_device* device, std::uint8_t* ports, int capacity)
{
    if (capacity < 1)
        return LIBUSB_ERROR_OVERFLOW;
    ports[0] = libusb_get_port_number(device);
    return 1;
}

libusb_device* LIBUSB_CALL libusb_get_parent(libusb_device*)
{
    return nullptr;
}

int LIBUSB_CALL libusb_get_device_speed(libusb_device*)
{
    return LIBUSB_SPEED_HIGH;
}
}
