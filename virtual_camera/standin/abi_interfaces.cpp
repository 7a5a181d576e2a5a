// Configuration, interfaces, endpoints of an open device.
#include "virtual_camera/standin/core.h"

using namespace vcam;
using namespace vcam::standin;

namespace {

/// Runs `action` with the bus locked on a handle whose device is there.
template <typename Action>
int OnDevice(Function function, libusb_device_handle* handle, int number, int value,
             std::uint8_t endpoint, Action action)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), function);
    const bool fails = scope.Begin([&](Call& call) {
        call.handle = handle;
        call.interface_number = number;
        call.value = value;
        call.endpoint = endpoint;
    });
    if (fails)
        return scope.End(scope.Failure());
    Lock lock(core.Mutex());
    if (!core.CheckOpen(handle, NameOf(function)))
        return scope.End<int>((lock.unlock(), LIBUSB_ERROR_INVALID_PARAM));
    core.Refresh(Now());
    // Keeps the connection alive over a wait inside `action`.
    const std::shared_ptr<Connection> connection = handle->device->connection;
    // The release 1.0.26 gives up a lock that it does not hold, and stops the
    // process when the handle is closed. A caller that nothing has told cannot
    // know better.
    const libusb_version& version = *Bus::Instance().Version();
    if (connection->gone && handle->told_gone && function == Function::k_set_interface_alt_setting &&
        version.micro == 26 && version.nano != 0)
        core.ReportMisuse("libusb_set_interface_alt_setting: the device has gone");
    handle->told_gone = handle->told_gone || connection->gone;
    const int result =
        connection->gone ? static_cast<int>(LIBUSB_ERROR_NO_DEVICE) : action(core, lock, connection);
    lock.unlock();
    return scope.End(result);
}

int ErrorOf(TransferStatus status)
{
    switch (status) {
    case TransferStatus::kCompleted:
        return LIBUSB_SUCCESS;
    case TransferStatus::kNoDevice:
        return LIBUSB_ERROR_NO_DEVICE;
    default:
        return LIBUSB_ERROR_OTHER;  // as the operating system's calls report it
    }
}

using Guarded = const std::shared_ptr<Connection>&;

}  // namespace

extern "C" {

int LIBUSB_CALL libusb_get_configuration(libusb_device_handle* handle, int* configuration)
{
    return OnDevice(Function::k_get_configuration, handle, 0, 0, 0,
                    [configuration](Core&, Lock&, Guarded connection) -> int {
                        *configuration = connection->default_pipe->Configuration();
                        return LIBUSB_SUCCESS;
                    });
}

int LIBUSB_CALL libusb_set_configuration(libusb_device_handle* handle, int configuration)
{
    return OnDevice(Function::k_set_configuration, handle, 0, configuration, 0,
                    [configuration](Core&, Lock&, Guarded connection) -> int {
                        for (const Interface& interface : connection->interfaces)
                            if (interface.claimed_by || interface.kernel_driver)
                                return LIBUSB_ERROR_BUSY;
                        return configuration == connection->default_pipe->Configuration()
                                   ? LIBUSB_SUCCESS
                                   : LIBUSB_ERROR_NOT_FOUND;
                    });
}

int LIBUSB_CALL libusb_kernel_driver_active(libusb_device_handle* handle, int number)
{
    return OnDevice(Function::k_kernel_driver_active, handle, number, 0, 0,
                    [number](Core&, Lock&, Guarded connection) {
                        const Interface* const interface = connection->FindInterface(number);
                        return interface && interface->kernel_driver ? 1 : 0;
                    });
}

int LIBUSB_CALL libusb_detach_kernel_driver(libusb_device_handle* handle, int number)
{
    return OnDevice(Function::k_detach_kernel_driver, handle, number, 0, 0,
                    [number](Core&, Lock&, Guarded connection) -> int {
                        Interface* const interface = connection->FindInterface(number);
                        if (!interface || !interface->kernel_driver)
                            return LIBUSB_ERROR_NOT_FOUND;
                        interface->kernel_driver = false;
                        return LIBUSB_SUCCESS;
                    });
}

int LIBUSB_CALL libusb_attach_kernel_driver(libusb_device_handle* handle, int number)
{
    return OnDevice(Function::k_attach_kernel_driver, handle, number, 0, 0,
                    [number](Core&, Lock&, Guarded connection) -> int {
                        Interface* const interface = connection->FindInterface(number);
                        if (!interface)
                            return LIBUSB_ERROR_NOT_FOUND;
                        if (interface->claimed_by || interface->kernel_driver)
                            return LIBUSB_ERROR_BUSY;
                        interface->kernel_driver = true;
                        return LIBUSB_SUCCESS;
                    });
}

int LIBUSB_CALL libusb_set_auto_detach_kernel_driver(libusb_device_handle* handle, int enable)
{
    return OnDevice(Function::k_set_auto_detach_kernel_driver, handle, 0, enable, 0,
                    [handle, enable](Core&, Lock&, Guarded) -> int {
                        handle->auto_detach = enable != 0;
                        return LIBUSB_SUCCESS;
                    });
}

int LIBUSB_CALL libusb_claim_interface(libusb_device_handle* handle, int number)
{
    return OnDevice(Function::k_claim_interface, handle, number, 0, 0,
                    [handle, number](Core&, Lock&, Guarded connection) -> int {
                        Interface* const interface = connection->FindInterface(number);
                        if (!interface)
                            return LIBUSB_ERROR_NOT_FOUND;
                        if (interface->claimed_by == handle)
                            return LIBUSB_SUCCESS;
                        if (interface->kernel_driver && handle->auto_detach)
                            interface->kernel_driver = false;
                        if (interface->claimed_by || interface->kernel_driver)
                            return LIBUSB_ERROR_BUSY;
                        interface->claimed_by = handle;
                        return LIBUSB_SUCCESS;
                    });
}

int LIBUSB_CALL libusb_release_interface(libusb_device_handle* handle, int number)
{
    return OnDevice(Function::k_release_interface, handle, number, 0, 0,
                    [handle, number](Core& core, Lock&, Guarded connection) -> int {
                        Interface* const interface = connection->FindInterface(number);
                        if (!interface || interface->claimed_by != handle) {
                            core.ReportMisuse("libusb_release_interface: interface " +
                                              std::to_string(number) + " is not claimed");
                            return LIBUSB_ERROR_NOT_FOUND;
                        }
                        core.ReleaseInterface(*connection, *interface);
                        return LIBUSB_SUCCESS;
                    });
}

int LIBUSB_CALL libusb_set_interface_alt_setting(libusb_device_handle* handle, int number,
                                                 int setting)
{
    return OnDevice(
        Function::k_set_interface_alt_setting, handle, number, setting, 0,
        [handle, number, setting](Core& core, Lock& lock, Guarded connection) -> int {
            Interface* const interface = connection->FindInterface(number);
            DefaultPipe& pipe = *connection->default_pipe;
            if (!interface || interface->claimed_by != handle || setting < 0 ||
                static_cast<unsigned>(setting) >= pipe.SettingsOf(interface->number))
                return LIBUSB_ERROR_NOT_FOUND;
            return ErrorOf(core.CallDevice(
                lock, connection,
                [&pipe, to = interface->number, setting](UsbDevice&, TimeUs now) {
                    return pipe.SelectSetting(to, static_cast<unsigned>(setting), now);
                }));
        });
}

int LIBUSB_CALL libusb_clear_halt(libusb_device_handle* handle, unsigned char endpoint)
{
    return OnDevice(Function::k_clear_halt, handle, 0, 0, endpoint,
                    [endpoint](Core& core, Lock& lock, Guarded connection) -> int {
                        if (!connection->FindActiveEndpoint(endpoint))
                            return LIBUSB_ERROR_NOT_FOUND;
                        return ErrorOf(core.CallDevice(
                            lock, connection, [endpoint](UsbDevice& device, TimeUs now) {
                                return device.ClearHalt(endpoint, now);
                            }));
                    });
}

int LIBUSB_CALL libusb_reset_device(libusb_device_handle* handle)
{
    return OnDevice(Function::k_reset_device, handle, 0, 0, 0,
                    [](Core&, Lock&, Guarded connection) -> int {
                        DefaultPipe& pipe = *connection->default_pipe;
                        for (const Interface& interface : connection->interfaces)
                            if (pipe.CurrentSetting(interface.number) != 0)
                                pipe.SelectSetting(interface.number, 0, Now());
                        return LIBUSB_SUCCESS;
                    });
}

int LIBUSB_CALL libusb_get_max_packet_size(libusb_device* device, unsigned char endpoint)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_get_max_packet_size);
    if (scope.Begin([endpoint](Call& call) { call.endpoint = endpoint; }))
        return scope.End(scope.Failure());
    Lock lock(core.Mutex());
    const Endpoint* const found = device->connection->FindEndpoint(endpoint);
    const int result = found ? found->max_packet_size : static_cast<int>(LIBUSB_ERROR_NOT_FOUND);
    lock.unlock();
    return scope.End(result);
}

int LIBUSB_CALL libusb_get_max_iso_packet_size(libusb_device* device, unsigned char endpoint)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_get_max_iso_packet_size);
    if (scope.Begin([endpoint](Call& call) { call.endpoint = endpoint; }))
        return scope.End(scope.Failure());
    Lock lock(core.Mutex());
    int result = LIBUSB_ERROR_NOT_FOUND;
    if (const Endpoint* const found = device->connection->FindEndpoint(endpoint)) {
        // High-bandwidth endpoints move up to three packets per microframe
        // (USB 2.0, 9.6.6).
        const int kind = found->attributes & LIBUSB_TRANSFER_TYPE_MASK;
        result = found->max_packet_size & 0x07FF;
        if (kind == LIBUSB_TRANSFER_TYPE_ISOCHRONOUS || kind == LIBUSB_TRANSFER_TYPE_INTERRUPT)
            result *= 1 + ((found->max_packet_size >> 11) & 3);
    }
    lock.unlock();
    return scope.End(result);
}
}
