#include "devcmd/control_transfer.h"

#include "runtime/process_locks.h"

int libusb_control_transfer_(libusb_device_handle* handle, unsigned char requestType,
                             unsigned char request, unsigned short value, unsigned short index,
                             unsigned char* data, unsigned short length, unsigned int timeout)
{
    const MutexGuard guard(g_control_transfer_lock);
    return libusb_control_transfer(handle, requestType, request, value, index, data, length,
                                   timeout);
}
