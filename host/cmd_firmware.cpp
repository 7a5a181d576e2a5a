// camhost firmware
#include <array>
#include <cstdio>
#include <filesystem>

#include "host/commands.h"
#include "host/device_library.h"
#include "host/firmware_image.h"
#include "host/firmware_update.h"
#include "host/host_error.h"
#include "host/name_list.h"
#include "host/property_table.h"
#include "host/text_table.h"

namespace host {
namespace {

enum class Method { kRunning, kChecksum, kPcsync, kUvc };

struct MethodInfo {
    Method method;
    const char* name;
    unsigned char interface;  ///< claimed for it
    bool boot_loader;         ///< meant for the boot loader rather than the running camera
};

constexpr std::array<MethodInfo, 4> kMethods = {{
    {Method::kRunning, "running", kNoInterface, false},
    {Method::kChecksum, "checksum", kNoInterface, false},
    {Method::kPcsync, "pcsync", 2, true},
    {Method::kUvc, "uvc", 0, true},
}};

const MethodInfo& MethodByName(const std::string& name)
{
    for (const MethodInfo& method : kMethods) {
        if (SameName(name, method.name)) {
            return method;
        }
    }
    throw HostError(kExitUsage, "unknown method '" + name + "'; known are " +
                                    JoinNames(kMethods, [](const auto& m) { return m.name; }));
}

std::string Hex(std::uint64_t value)
{
    char text[32];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}

std::string VersionText(const DeviceLibrary& library, _KelDevHandle* device)
{
    std::array<unsigned char, 6> version{};
    if (library.KelXU_GetFWVersion(device, version.data()) != 0) {
        return "no answer";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%02x %02x %02x %02x %02x %02x", version[0], version[1],
                  version[2], version[3], version[4], version[5]);
    return text;
}

std::string ImageText(const char* path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return std::string(path) + ": none";
    }
    return std::string(path) + ": " + std::to_string(std::filesystem::file_size(path, error)) +
           " bytes";
}

struct Target {
    OpenDevice device;
    const MethodInfo* method;
};

Target OpenTarget(const DeviceLibrary& library, const MethodInfo* wanted, int interfaceWish)
{
    const auto interfaceFor = [&](const MethodInfo& method) {
        return interfaceWish < 0 ? method.interface : static_cast<unsigned char>(interfaceWish);
    };
    // Without a wish: the boot loader's fast path, its slow one, the camera.
    const std::array<Method, 3> order = {Method::kPcsync, Method::kUvc, Method::kRunning};
    for (Method candidate : order) {
        for (const MethodInfo& method : kMethods) {
            const bool chosen = wanted != nullptr ? &method == wanted : method.method == candidate;
            if (!chosen) {
                continue;
            }
            OpenDevice device = method.boot_loader ? OpenBootLoader(library, interfaceFor(method))
                                                   : OpenDevice();
            // The slow path works on a running camera too, when it is asked for.
            if (!device && (!method.boot_loader || wanted != nullptr)) {
                device = OpenCamera(library, interfaceFor(method));
            }
            if (device) {
                return {std::move(device), &method};
            }
        }
    }
    throw HostError(kExitNoCamera, "no camera and no boot loader found");
}

}  // namespace

int RunFirmwareStatus(Host& host)
{
    const DeviceLibrary library(host.Lib());
    const bool camera = CameraPresent(library);
    const bool loader = BootLoaderPresent(library);
    TextTable table({"fact", "value"});
    table.Row({"camera", camera ? "present" : "absent"});
    table.Row({"boot loader", loader ? "present" : "absent"});
    if (camera) {
        const OpenDevice device = OpenCamera(library);
        table.Row({"version bytes", device ? VersionText(library, device.get()) : "cannot open"});
    } else if (loader) {
        const OpenDevice device = OpenBootLoader(library, kNoInterface);
        table.Row({"loader version bytes",
                   device ? VersionText(library, device.get()) : "cannot open"});
    }
    table.Row({"firmware image", ImageText(library.firmware_path)});
    table.Row({"boot-code image", ImageText(library.boot_code_path)});
    table.Row({"factory firmware", ImageText(library.factory_firmware_path)});
    table.Row({"factory boot code", ImageText(library.factory_boot_code_path)});
    host.console.Text(table.Text());
    if (!camera && !loader) {
        throw HostError(kExitNoCamera, "no camera and no boot loader found");
    }
    return kExitOk;
}

int RunFirmwareInspect(Host& host, const std::string& path)
{
    const FirmwareImage image = ReadFirmwareImage(path);
    TextTable table({"fact", "value"});
    table.Row({"file", path});
    table.Row({"size", std::to_string(image.bytes.size()) + " bytes"});
    table.Row({"sum of bytes", Hex(image.Checksum())});
    table.Row({"blocks of 512, 32, 32768",
               std::to_string((image.bytes.size() + 511) / 512) + ", " +
                   std::to_string((image.bytes.size() + 31) / 32) + ", " +
                   std::to_string((image.bytes.size() + 32767) / 32768)});
    table.Row({"version word", image.has_version_word ? Hex(image.version_word) : "none"});
    table.Row({"boot code", image.IsBootCode() ? "yes, version " + Hex(image.BootCodeVersion())
                                               : std::string("no")});
    host.console.Text(table.Text());
    return kExitOk;
}

int RunFirmwareUpdate(Host& host, const FirmwareUpdateOptions& options)
{
    const MethodInfo* wanted = options.method.empty() ? nullptr : &MethodByName(options.method);
    const auto type = static_cast<unsigned>(ParseNumber(options.type, "type", 1, 4));
    const int interface =
        options.interface.empty()
            ? -1
            : static_cast<int>(ParseNumber(options.interface, "interface", 0, 255));
    const FirmwareImage image = ReadFirmwareImage(options.image);
    const long long checksum =
        options.checksum.empty()
            ? static_cast<long long>(image.Checksum())
            : ParseNumber(options.checksum, "checksum", INT64_MIN, INT64_MAX);

    const DeviceLibrary library(host.Lib());
    const Target target = OpenTarget(library, wanted, interface);
    _KelDevHandle* device = target.device.get();
    host.console.Line(std::string("updating by way of '") + target.method->name + "', " +
                      std::to_string(image.bytes.size()) + " bytes");
    if (options.unlock) {
        library.DisableFlashWP(device);
    }
    std::string path = options.image;
    const int result =
        ShowDownload(host.console, host.events, image.bytes.size(), [&]() -> int {
            switch (target.method->method) {
            case Method::kPcsync:
                return library.UpdateFirmwarePcsyncPath(device, path.data(), 4);
            case Method::kUvc:
                return library.UpdateFirmwareUvcPath(device, path.data(), 4);
            case Method::kChecksum:
                return library.UpdateKelFirmwareWithCheckSum(device, path.data(), checksum);
            case Method::kRunning:
                break;
            }
            return library.UpdateFirmware(device, path.data(), type);
        });
    if (result != 0) {
        throw HostError(kExitFailed, "the update failed; the device keeps what it had or waits in "
                                     "its boot loader");
    }
    host.console.Line("updated");
    return kExitOk;
}

}  // namespace host
