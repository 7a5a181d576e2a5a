#include "host/device_library.h"

#include "host/host_error.h"

namespace host {
namespace {

constexpr unsigned short kVendor = TORVIK_CAM_VENDOR_ID;
constexpr unsigned short kCamera = TORVIK_CAM_PRODUCT_ID;
constexpr unsigned short kBootLoader = TORVIK_CAM_BOOT_PRODUCT_ID;

template <typename Function>
void Find(const Library& library, Function& function, const char* name)
{
    function = reinterpret_cast<Function>(library.Symbol(name));
}

OpenDevice Open(const DeviceLibrary& library, unsigned short product, unsigned char interface)
{
    return OpenDevice(library.OpenKelDevice(kVendor, product, interface),
                      DeviceCloser{library.CloseKelDevice});
}

}  // namespace

DeviceLibrary::DeviceLibrary(const Library& library)
{
    Find(library, CheckDeviceExist, "_Z16CheckDeviceExisttt");
    Find(library, OpenKelDevice, "_Z13OpenKelDevicetth");
    Find(library, CloseKelDevice, "_Z14CloseKelDeviceP13_KelDevHandle");
    Find(library, KelXU_XuCmd, "_Z11KelXU_XuCmdP13_KelDevHandlePhthh");
    Find(library, KelXU_GetFWVersion, "_Z18KelXU_GetFWVersionP13_KelDevHandlePh");
    Find(library, GetPTZ_Pos, "_Z10GetPTZ_PosP13_KelDevHandlejPi");
    Find(library, SetPTZ_Pos, "_Z10SetPTZ_PosP13_KelDevHandleji");
    Find(library, UpdateFirmwarePcsyncPath, "_Z24UpdateFirmwarePcsyncPathP13_KelDevHandlePcj");
    Find(library, UpdateFirmwareUvcPath, "_Z21UpdateFirmwareUvcPathP13_KelDevHandlePcj");
    Find(library, UpdateFirmware, "_Z14UpdateFirmwareP13_KelDevHandlePcj");
    Find(library, UpdateKelFirmwareWithCheckSum,
         "_Z29UpdateKelFirmwareWithCheckSumP13_KelDevHandlePcx");
    Find(library, DisableFlashWP, "_Z14DisableFlashWPP13_KelDevHandle");
    Find(library, firmware_path, "fw_path_name");
    Find(library, boot_code_path, "boot_path_name");
    Find(library, factory_firmware_path, "exe_fw_path_name");
    Find(library, factory_boot_code_path, "exe_boot_path_name");
}

OpenDevice OpenCamera(const DeviceLibrary& library, unsigned char interface)
{
    return Open(library, kCamera, interface);
}

OpenDevice MustOpenCamera(const DeviceLibrary& library, unsigned char interface)
{
    OpenDevice device = OpenCamera(library, interface);
    if (!device) {
        throw HostError(kExitNoCamera, "no camera found");
    }
    return device;
}

OpenDevice OpenBootLoader(const DeviceLibrary& library, unsigned char interface)
{
    return Open(library, kBootLoader, interface);
}

bool CameraPresent(const DeviceLibrary& library)
{
    return library.CheckDeviceExist(kVendor, kCamera);
}

bool BootLoaderPresent(const DeviceLibrary& library)
{
    return library.CheckDeviceExist(kVendor, kBootLoader);
}

std::string DeviceErrorText(int result)
{
    struct Text {
        int code;
        const char* text;
    };
    static constexpr Text kTexts[] = {
        {kCamUnsupported, "not supported, or the transfer failed"},
        {-1, "input/output error"},
        {-2, "invalid parameter"},
        {-3, "access denied"},
        {-4, "the camera is gone"},
        {-5, "not found"},
        {-6, "busy"},
        {-7, "time-out"},
        {-8, "overflow"},
        {-9, "refused by the camera (stall)"},
        {-10, "interrupted"},
        {-11, "out of memory"},
        {-12, "not supported by this machine's USB"},
    };
    for (const Text& row : kTexts) {
        if (row.code == result) {
            return row.text;
        }
    }
    return "error " + std::to_string(result);
}

}  // namespace host
