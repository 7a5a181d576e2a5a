/// @file
/// Writing firmware and boot-code images into the controller's flash.
///
/// All procedures block until the device has answered the burn request (up to
/// 30 s and more), read the image from `path` (a regular file of at most
/// 64 MiB), hold it in memory once and leave retries to the caller. They return
/// 0 on success and kCamUnsupported on any failure, a null handle or path
/// included. The image is sent as it is: whether it is one, only the device
/// tells. After a failure the device may hold part of it.
///
/// Threads: any, one download at a time per device. A camera that records
/// should be stopped before. Not from inside an observer or the Init call-back.
#ifndef TORVIK_API_FIRMWARE_DOWNLOAD_H
#define TORVIK_API_FIRMWARE_DOWNLOAD_H

#include "api/cam_export.h"
#include "api/device_commands.h"

/// Boot loader with the vendor bulk interface: blocks of 512 bytes. An empty
/// file is refused. Failed blocks are not noticed: the burn request's answer is
/// the only verdict, and a device that leaves the bus instead has succeeded.
///
/// @param device    open controller, interface 2 claimed
/// @param path      of the image
/// @param reserved  not used
/// @return 0 or kCamUnsupported
CAM_API int UpdateFirmwarePcsyncPath(_KelDevHandle* device, char* path, unsigned reserved);

/// Boot loader or firmware that offers only the extension unit: blocks of 32
/// bytes. The burn request's answer is not looked at.
///
/// @param device    open controller
/// @param path      of the image; an empty file burns nothing
/// @param reserved  not used
/// @return 0 or kCamUnsupported
CAM_API int UpdateFirmwareUvcPath(_KelDevHandle* device, char* path, unsigned reserved);

/// Running firmware: blocks of 32 KiB, 5 s each. A block that times out counts
/// as sent.
///
/// @param device  open controller
/// @param path    of the image
/// @param type    what is burnt: 1 to 4, anything else counts as 1
/// @return 0 or kCamUnsupported
CAM_API int UpdateFirmware(_KelDevHandle* device, char* path, unsigned type);

/// As UpdateFirmware with type 1, but failed blocks are not noticed, and the
/// device compares a checksum before it burns.
///
/// @param device    open controller
/// @param path      of the image
/// @param checksum  as the device computes it; sent as it is
/// @return 0 or kCamUnsupported
CAM_API int UpdateKelFirmwareWithCheckSum(_KelDevHandle* device, char* path, long long checksum);

/// Lifts the write protection of the flash.
///
/// @param device  open controller, or null
/// @return always 0
CAM_API int DisableFlashWP(_KelDevHandle* device);

/// @name Where images lie
/// Writable, so that a host can point them elsewhere (same or shorter length,
/// NUL-terminated) before ICameraSubject::Init; not while a loader runs.
/// @{
extern CAM_API char fw_path_name[34];        ///< firmware that the loader downloads
extern CAM_API char boot_path_name[34];      ///< boot code that the loader compares and burns
extern CAM_API char exe_fw_path_name[27];    ///< factory firmware; the loader does not use it
extern CAM_API char exe_boot_path_name[27];  ///< factory boot code; the loader does not use it
/// @}

#endif
