// Writing firmware and boot-code images into the controller's flash.
//
// All procedures block until the device has answered the burn request (up to
// 30 s and more), read the image from `path` (a regular file of at most
// 64 MiB), hold it in memory once and leave retries to the caller. They return
// 0 on success and kCamUnsupported on any failure, a null handle or path
// included. One download at a time per device.
#ifndef TORVIK_API_FIRMWARE_DOWNLOAD_H
#define TORVIK_API_FIRMWARE_DOWNLOAD_H

#include "api/cam_export.h"
#include "api/device_commands.h"

/// Boot loader with the vendor bulk interface: blocks of 512 bytes. The third
/// argument is not used.
CAM_API int UpdateFirmwarePcsyncPath(_KelDevHandle* device, char* path, unsigned reserved);
/// Boot loader or firmware that offers only the extension unit: blocks of 32
/// bytes. The third argument is not used.
CAM_API int UpdateFirmwareUvcPath(_KelDevHandle* device, char* path, unsigned reserved);
/// Running firmware: blocks of 32 KiB. `type` selects what is burnt: 1 to 4,
/// anything else counts as 1.
CAM_API int UpdateFirmware(_KelDevHandle* device, char* path, unsigned type);
/// As UpdateFirmware with type 1, but the device compares `checksum` first.
CAM_API int UpdateKelFirmwareWithCheckSum(_KelDevHandle* device, char* path, long long checksum);
/// Lifts the write protection of the flash. Always 0.
CAM_API int DisableFlashWP(_KelDevHandle* device);

/// Where the firmware loader looks for images: writable, so that a host can
/// point it elsewhere before ICameraSubject::Init (same or shorter length).
extern CAM_API char fw_path_name[34];
extern CAM_API char boot_path_name[34];
/// The factory copies.
extern CAM_API char exe_fw_path_name[27];
extern CAM_API char exe_boot_path_name[27];

#endif
