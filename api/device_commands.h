/// @file
/// Direct access to the camera controller's own commands, past the camera
/// object. Each open handle has a USB context of its own.
///
/// Threads: any; every control transfer of the library is serialised, so a call
/// may wait for another's time-out. A handle must not be closed while another
/// thread uses it. A command and the read of its result are two transfers,
/// between which another thread's may fall. Not from inside an observer: that
/// would hold the camera back.
///
/// Results, where nothing else is said: 0 on success; -1 for a null handle or
/// other null pointer; kCamUnsupported for an unsupported request; otherwise
/// libusb's negative error code. Nothing throws. Multi-byte values travel
/// little-endian and are given and returned in the machine's own order.
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
    libusb_device_handle* handle;  ///< the open device
    libusb_context* context;       ///< belongs to this handle alone
    int interface;                 ///< claimed at open, or kNoInterface
};

/// Face-detection parameters; carried to the device as they are.
struct _FACE_CMD {
    unsigned char bytes[32];  ///< their meaning is the device's
};
static_assert(sizeof(_FACE_CMD) == 32, "the device takes exactly this block");

/// Face-detection result.
struct _FacePositionList {
    static constexpr unsigned kMaxFaces = 10;  ///< what one reply of the device can hold

    std::uint8_t count;     ///< as the device sent it; above kMaxFaces only ten are filled
    std::uint8_t reserved;  ///< 0
    std::uint16_t face[kMaxFaces][4];  ///< four values a face, in the device's order and units
};
static_assert(sizeof(_FacePositionList) == 82, "10 faces of 8 bytes behind a 2-byte head");

/// @name Controls of GetPTZ_Pos and SetPTZ_Pos
/// The ids are those of V4L2's camera class.
/// @{
constexpr unsigned kControlPanAbsolute = 0x9A0908;    ///< 1/3600 degree, signed 32 bits
constexpr unsigned kControlTiltAbsolute = 0x9A0909;   ///< 1/3600 degree, signed 32 bits
constexpr unsigned kControlFocusAbsolute = 0x9A090A;  ///< unsigned 16 bits
constexpr unsigned kControlZoomAbsolute = 0x9A090D;   ///< unsigned 16 bits
/// @}

/// First device of a list with this identity.
///
/// @param list       null-terminated, from libusb_get_device_list; keeps its
///                   references. Null gives null.
/// @param vendorId   of the device
/// @param productId  of the device
/// @return null when there is none, or at the first device whose descriptor
///         cannot be read
CAM_API libusb_device* FindKelDevice(libusb_device** list, unsigned short vendorId,
                                     unsigned short productId);

/// Looks for a device on the bus, in a USB context of its own.
///
/// @param vendorId   of the device
/// @param productId  of the device
/// @return true when it is there; false also when USB cannot be used
CAM_API bool CheckDeviceExist(unsigned short vendorId, unsigned short productId);

/// Opens a device and claims an interface, from which the kernel's driver is
/// detached. When the device is there but refuses, its USB context stays open.
///
/// @param vendorId   of the device
/// @param productId  of the device
/// @param interface  to claim; kNoInterface claims none
/// @return the caller's until CloseKelDevice; null on failure
CAM_API _KelDevHandle* OpenKelDevice(unsigned short vendorId, unsigned short productId,
                                     unsigned char interface);

/// Releases what OpenKelDevice claimed, closes and frees. The kernel's driver is
/// not attached again.
///
/// @param device  not to be used any more; null is ignored
CAM_API void CloseKelDevice(_KelDevHandle* device);

/// One transfer on the extension unit (UVC 1.5, 4.2.2.5), 1000 ms at most.
///
/// @param device    open controller
/// @param data      `length` bytes, sent or filled; may be null for none
/// @param selector  of the unit; the low byte counts
/// @param length    of the control in bytes, as the controller defines it
/// @param set       non-zero sends with SET_CUR, zero reads with GET_CUR
/// @return 0; kCamUnsupported for null; libusb's error
CAM_API int KelXU_XuCmd(_KelDevHandle* device, unsigned char* data, unsigned short selector,
                        unsigned char length, unsigned char set);

/// Sends a command to the image processor, 500 ms at most.
///
/// @param device  open controller
/// @param cmd     8 bytes, the opcode first
/// @return 0; -1 for null; libusb's error
CAM_API int KelIspCmdSet(_KelDevHandle* device, unsigned char* cmd);

/// Reads the image processor's answer to the last command.
///
/// @param device     open controller
/// @param result     gets 8 bytes, a status first that is 0 when the rest is
///                   valid; untouched on failure
/// @param timeoutMs  limit in ms; 0 waits without one
/// @return 0; -1 for null; libusb's error
CAM_API int KelIspCmdGetResult(_KelDevHandle* device, unsigned char* result,
                               unsigned int timeoutMs);

/// Sends a command to the controller's media processor, 1000 ms at most.
///
/// @param device  open controller
/// @param cmd     16 bytes, opcode and sub-command first
/// @return 0, also when the transfer failed: the controller carries some
///         commands out without answering; -1 for null
CAM_API int KelMMPCmdSet16(_KelDevHandle* device, unsigned char* cmd);

/// Reads the media processor's answer to the last command, 500 ms at most.
///
/// @param device  open controller
/// @param result  gets 16 bytes; untouched on failure
/// @return 0; -1 for null; libusb's error
CAM_API int KelMMPCmdGetResult16(_KelDevHandle* device, unsigned char* result);

/// Sets the bit rate of the encoder that is addressed.
///
/// @param device   open controller
/// @param bitrate  in kbit/s, not checked
/// @return 0; -1 for null; libusb's error
CAM_API int SetH264Bitrate(_KelDevHandle* device, unsigned short bitrate);

/// Reads a register of the image sensor.
///
/// @param device   open controller
/// @param address  of the register
/// @param value    gets what the register holds; the address when the answer
///                 cannot be read
/// @return 0, also when only the answer could not be read; -1 for null;
///         libusb's error
CAM_API int ReadSensorReg(_KelDevHandle* device, unsigned short address, unsigned short* value);

/// Writes a register of the image sensor.
///
/// @param device   open controller
/// @param address  of the register
/// @param value    not checked
/// @return 0; -1 for null; libusb's error
CAM_API int WriteSensorReg(_KelDevHandle* device, unsigned short address, unsigned short value);

/// Reads the version of the firmware, or of the boot loader while that runs.
///
/// @param device   open controller
/// @param version  gets six bytes: untouched when the controller answers "not
///                 ready", which counts as success; zeros when the answer cannot
///                 be read
/// @return 0; -1 for null; libusb's error
CAM_API int KelXU_GetFWVersion(_KelDevHandle* device, unsigned char* version);

/// Writes the controller's video options.
///
/// @param device   open controller
/// @param options  32 bits; their meaning is the controller's
/// @return 0; -1 for null; libusb's error
CAM_API int KelXU_SetVideoOption(_KelDevHandle* device, unsigned int options);

/// Reads the controller's video options.
///
/// @param device   open controller
/// @param options  gets, of the answer's bytes b, b[1] + b[2] + 4096 b[3] +
///                 16777216 b[4]: not the word that KelXU_SetVideoOption wrote,
///                 but what users of this function have always got. Untouched on
///                 failure.
/// @return 0; -1 for null; libusb's error
CAM_API int KelXU_GetVideoOption(_KelDevHandle* device, unsigned int* options);

/// Sets the preview of the television mode. The controller defines the
/// parameters; they are sent in this order.
///
/// @param device  open controller
/// @param p1      8 bits
/// @param p2      8 bits
/// @param p3      16 bits
/// @param p4      16 bits
/// @param p5      16 bits
/// @param p6      16 bits
/// @param p7      16 bits
/// @param p8      16 bits
/// @return 0, also when the transfer failed; -1 for null
CAM_API int Set_KVR_TV_PreviewParam(_KelDevHandle* device, unsigned char p1, unsigned char p2,
                                    unsigned short p3, unsigned short p4, unsigned short p5,
                                    unsigned short p6, unsigned short p7, unsigned short p8);

/// Reads a control of the camera terminal, 500 ms at most.
///
/// @param device   open controller
/// @param control  kControlPanAbsolute and the like
/// @param value    gets the position; 0 when the transfer failed, which counts as
///                 success
/// @return 0; -1 for null or an unknown control
CAM_API int GetPTZ_Pos(_KelDevHandle* device, unsigned int control, int* value);

/// Sets a control of the camera terminal, 500 ms at most. Pan and tilt are one
/// control of the device, so that the other one is read before and sent along:
/// with a pan only part of a large or negative tilt.
///
/// @param device   open controller
/// @param control  kControlPanAbsolute and the like
/// @param value    as the control's comment says; the low 16 bits of zoom and
///                 focus count
/// @return 0, also when the transfer failed; -1 for null; kCamUnsupported for an
///         unknown control
CAM_API int SetPTZ_Pos(_KelDevHandle* device, unsigned int control, int value);

/// Sends face-detection parameters, 500 ms at most.
///
/// @param device  open controller
/// @param cmd     sent as it is
/// @return 0; -1 for null; kCamUnsupported when the transfer failed
CAM_API int SetFD_Param(_KelDevHandle* device, _FACE_CMD* cmd);

/// Reads the faces found, 500 ms at most.
///
/// @param device  open controller
/// @param list    filled, with no face when the transfer failed; the entries
///                behind its count are left alone
/// @return 0; -1 for null; kCamUnsupported when the transfer failed
CAM_API int GetFD_Position(_KelDevHandle* device, _FacePositionList* list);

#endif
