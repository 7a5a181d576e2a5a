// Direct access to the camera controller's own commands, past the camera
// object. Each open handle has a USB context of its own.
//
// Threads: any; every control transfer of the library is serialised. A handle
// must not be closed while another thread uses it. A command and the read of
// its result are two transfers, between which another thread's may fall.
//
// Results, where nothing else is said: 0 on success; -1 for a null handle;
// kCamUnsupported for an unsupported request; otherwise libusb's negative
// error code. Pointers must not be null unless a text allows it.
#ifndef TORVIK_API_DEVICE_COMMANDS_H
#define TORVIK_API_DEVICE_COMMANDS_H

#include <cstdint>

#include "api/cam_export.h"

struct libusb_context;
struct libusb_device;
struct libusb_device_handle;

/// Result of an unsupported request or a failed command transfer.
constexpr int kCamUnsupported = static_cast<int>(0x80000003U);

/// Interface number that stands for "claim none".
constexpr unsigned char kNoInterface = 255;

/// An open controller. Made by OpenKelDevice, freed by CloseKelDevice.
struct _KelDevHandle {
    libusb_device_handle* handle;
    libusb_context* context;  ///< belongs to this handle alone
    int interface;            ///< claimed at open, or kNoInterface
};

/// Face-detection parameters; carried to the device as they are.
struct _FACE_CMD {
    unsigned char bytes[32];
};
static_assert(sizeof(_FACE_CMD) == 32, "the device takes exactly this block");

/// Face-detection result.
struct _FacePositionList {
    static constexpr unsigned kMaxFaces = 10;  ///< what one reply of the device can hold

    std::uint8_t count;     ///< as the device sent it; may exceed kMaxFaces, of which then ten are filled
    std::uint8_t reserved;  ///< 0
    std::uint16_t face[kMaxFaces][4];
};
static_assert(sizeof(_FacePositionList) == 82, "10 faces of 8 bytes behind a 2-byte head");

/// V4L2 camera-class control ids of GetPTZ_Pos and SetPTZ_Pos.
constexpr unsigned kControlPanAbsolute = 0x9A0908;    ///< 1/3600 degree, signed 32 bits
constexpr unsigned kControlTiltAbsolute = 0x9A0909;   ///< 1/3600 degree, signed 32 bits
constexpr unsigned kControlFocusAbsolute = 0x9A090A;  ///< unsigned 16 bits
constexpr unsigned kControlZoomAbsolute = 0x9A090D;   ///< unsigned 16 bits

/// First device of a null-terminated libusb device list with this identity.
/// Null when there is none, or at the first device whose descriptor cannot be
/// read. The list keeps its references.
CAM_API libusb_device* FindKelDevice(libusb_device** list, unsigned short vendorId,
                                     unsigned short productId);
/// True when a device with this identity is on the bus.
CAM_API bool CheckDeviceExist(unsigned short vendorId, unsigned short productId);
/// Opens the device and claims `interface` (kNoInterface: none). Null on failure.
CAM_API _KelDevHandle* OpenKelDevice(unsigned short vendorId, unsigned short productId,
                                     unsigned char interface);
/// Releases what OpenKelDevice claimed and closes; null is ignored.
CAM_API void CloseKelDevice(_KelDevHandle* device);

/// One transfer on the extension unit (UVC 1.5, 4.2.2.5): `set` non-zero sends
/// `length` bytes with SET_CUR, zero reads them with GET_CUR. 1000 ms.
/// kCamUnsupported for a null handle.
CAM_API int KelXU_XuCmd(_KelDevHandle* device, unsigned char* data, unsigned short selector,
                        unsigned char length, unsigned char set);

CAM_API int KelIspCmdSet(_KelDevHandle* device, unsigned char* cmd);  ///< 8 bytes, 500 ms
CAM_API int KelIspCmdGetResult(_KelDevHandle* device, unsigned char* result,
                               unsigned int timeoutMs);                 ///< 8 bytes
CAM_API int KelMMPCmdSet16(_KelDevHandle* device, unsigned char* cmd);  ///< 16 bytes, always 0
CAM_API int KelMMPCmdGetResult16(_KelDevHandle* device, unsigned char* result);  ///< 16 bytes

CAM_API int SetH264Bitrate(_KelDevHandle* device, unsigned short bitrate);
/// A failed read of the result still returns 0 and yields the address.
CAM_API int ReadSensorReg(_KelDevHandle* device, unsigned short address, unsigned short* value);
CAM_API int WriteSensorReg(_KelDevHandle* device, unsigned short address, unsigned short value);
/// Six bytes. Left untouched when the controller answers "not ready"; zeros
/// when the read fails.
CAM_API int KelXU_GetFWVersion(_KelDevHandle* device, unsigned char* version);
CAM_API int KelXU_SetVideoOption(_KelDevHandle* device, unsigned int options);
CAM_API int KelXU_GetVideoOption(_KelDevHandle* device, unsigned int* options);
/// Preview parameters of the television mode; the controller defines them.
CAM_API int Set_KVR_TV_PreviewParam(_KelDevHandle* device, unsigned char p1, unsigned char p2,
                                    unsigned short p3, unsigned short p4, unsigned short p5,
                                    unsigned short p6, unsigned short p7, unsigned short p8);

/// Reads a camera-terminal control. -1 for an unknown id; a failed transfer
/// yields 0 and succeeds.
CAM_API int GetPTZ_Pos(_KelDevHandle* device, unsigned int control, int* value);
/// Sets a camera-terminal control. kCamUnsupported for an unknown id. Setting
/// pan keeps only part of a large or negative tilt.
CAM_API int SetPTZ_Pos(_KelDevHandle* device, unsigned int control, int value);
CAM_API int SetFD_Param(_KelDevHandle* device, _FACE_CMD* cmd);
/// Fills `list` also when the transfer failed.
CAM_API int GetFD_Position(_KelDevHandle* device, _FacePositionList* list);

#endif
