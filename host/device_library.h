// The library's exported device commands, looked up in the loaded library.
#ifndef TORVIK_HOST_DEVICE_LIBRARY_H
#define TORVIK_HOST_DEVICE_LIBRARY_H

#include <memory>

#include "api/device_commands.h"
#include "api/firmware_download.h"
#include "host/library.h"

namespace host {

/// One member for each exported function that camhost uses. The names are
/// those that the C++ ABI gives to the declarations in api/.
struct DeviceLibrary {
    explicit DeviceLibrary(const Library& library);

    decltype(&::CheckDeviceExist) CheckDeviceExist;
    decltype(&::OpenKelDevice) OpenKelDevice;
    decltype(&::CloseKelDevice) CloseKelDevice;
    decltype(&::KelXU_XuCmd) KelXU_XuCmd;
    decltype(&::KelXU_GetFWVersion) KelXU_GetFWVersion;
    decltype(&::GetPTZ_Pos) GetPTZ_Pos;
    decltype(&::SetPTZ_Pos) SetPTZ_Pos;
    decltype(&::UpdateFirmwarePcsyncPath) UpdateFirmwarePcsyncPath;
    decltype(&::UpdateFirmwareUvcPath) UpdateFirmwareUvcPath;
    decltype(&::UpdateFirmware) UpdateFirmware;
    decltype(&::UpdateKelFirmwareWithCheckSum) UpdateKelFirmwareWithCheckSum;
    decltype(&::DisableFlashWP) DisableFlashWP;

    /// Paths at which the driver looks for images, in the library's own memory.
    const char* firmware_path;
    const char* boot_code_path;
    const char* factory_firmware_path;
    const char* factory_boot_code_path;
};

struct DeviceCloser {
    decltype(&::CloseKelDevice) close;
    void operator()(_KelDevHandle* device) const { close(device); }
};
using OpenDevice = std::unique_ptr<_KelDevHandle, DeviceCloser>;

/// The camera with its firmware running; null when absent.
OpenDevice OpenCamera(const DeviceLibrary& library, unsigned char interface = kNoInterface);
/// As OpenCamera, throwing kExitNoCamera.
OpenDevice MustOpenCamera(const DeviceLibrary& library, unsigned char interface = kNoInterface);
/// The boot loader on this interface; null when absent.
OpenDevice OpenBootLoader(const DeviceLibrary& library, unsigned char interface);

bool CameraPresent(const DeviceLibrary& library);
bool BootLoaderPresent(const DeviceLibrary& library);

/// Text of a negative result of a device command.
std::string DeviceErrorText(int result);

}  // namespace host

#endif
