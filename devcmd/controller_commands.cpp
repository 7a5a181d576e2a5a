// Commands built on the extension unit.

#include <cstring>

#include "devcmd/device_requests.h"

namespace {

constexpr unsigned kSensorReadTimeoutMs = 500;
constexpr unsigned char kSet = 1;
constexpr unsigned char kGet = 0;

template <typename Frame>
unsigned char LengthOf(const Frame& frame)
{
    return static_cast<unsigned char>(frame.size());
}

}  // namespace

int SetH264Bitrate(_KelDevHandle* device, unsigned short bitrate)
{
    IspFrame frame = IspSetBitrate(bitrate);
    return KelIspCmdSet(device, frame.data());
}

int ReadSensorReg(_KelDevHandle* device, unsigned short address, unsigned short* value)
{
    if (device == nullptr || value == nullptr)
        return -1;
    IspFrame frame = IspReadSensor(address);
    const int result = KelIspCmdSet(device, frame.data());
    if (result < 0)
        return result;
    // Not checked: when the read fails, bytes 2 and 3 still hold the address.
    KelIspCmdGetResult(device, frame.data(), kSensorReadTimeoutMs);
    *value = ReadLe16(frame.data() + 2);
    return 0;
}

int WriteSensorReg(_KelDevHandle* device, unsigned short address, unsigned short value)
{
    IspFrame frame = IspWriteSensor(address, value);
    return KelIspCmdSet(device, frame.data());
}

int KelXU_GetFWVersion(_KelDevHandle* device, unsigned char* version)
{
    if (device == nullptr || version == nullptr)
        return -1;
    IspFrame command = IspFirmwareVersion();
    int result = KelXU_XuCmd(device, command.data(), kXuIspCommand, LengthOf(command), kSet);
    if (result < 0)
        return result;
    IspFrame reply = {};
    result = KelXU_XuCmd(device, reply.data(), kXuIspResult, LengthOf(reply), kGet);
    if (reply[0] != 0)
        return result;
    // A failed read leaves zeros and so yields version 0 with success.
    std::memcpy(version, reply.data() + 2, 6);
    return 0;
}

int KelXU_SetVideoOption(_KelDevHandle* device, unsigned int options)
{
    if (device == nullptr)
        return -1;
    MmpFrame frame = MmpSetVideoOption(options);
    return KelXU_XuCmd(device, frame.data(), kXuMmpCommand, LengthOf(frame), kSet);
}

int KelXU_GetVideoOption(_KelDevHandle* device, unsigned int* options)
{
    if (device == nullptr || options == nullptr)
        return -1;
    MmpFrame frame = MmpQueryVideoOption();
    int result = KelXU_XuCmd(device, frame.data(), kXuMmpCommand, LengthOf(frame), kSet);
    if (result < 0)
        return result;
    result = KelXU_XuCmd(device, frame.data(), kXuMmpResult, LengthOf(frame), kGet);
    if (result < 0)
        return result;
    // Callers of this function rely on exactly this sum; the camera object
    // decodes the same reply as a plain 32-bit value.
    *options = frame[1] + frame[2] + frame[3] * 4096U + frame[4] * 16777216U;
    return 0;
}

int Set_KVR_TV_PreviewParam(_KelDevHandle* device, unsigned char p1, unsigned char p2,
                            unsigned short p3, unsigned short p4, unsigned short p5,
                            unsigned short p6, unsigned short p7, unsigned short p8)
{
    MmpFrame frame = {1, p1, p2};
    unsigned char* field = frame.data() + 3;
    for (const unsigned short parameter : {p3, p4, p5, p6, p7, p8}) {
        WriteLe16(field, parameter);
        field += 2;
    }
    return KelMMPCmdSet16(device, frame.data());
}
