#include "tests/kernel/usb_tree.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace kernel_test
{
namespace
{

namespace fs = std::filesystem;
constexpr char kDevices[] = "/sys/bus/usb/devices";

std::string ReadWord(const fs::path& path)
{
    std::string word;
    std::ifstream(path) >> word;
    return word;
}

unsigned ReadHex(const fs::path& path)
{
    const std::string word = ReadWord(path);
    return word.empty() ? 0 : static_cast<unsigned>(std::stoul(word, nullptr, 16));
}

/// The interface folders appear one after the other.
bool HasAllInterfaces(const fs::path& folder)
{
    const std::string count = ReadWord(folder / "bNumInterfaces");
    if (count.empty())
        return false;
    for (int i = 0; i < std::stoi(count); ++i)
        if (!fs::exists(folder / (folder.filename().string() + ":1." + std::to_string(i))))
            return false;
    return true;
}

}  // namespace

std::optional<UsbDevice> FindCamera()
{
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(kDevices, error)) {
        const fs::path& folder = entry.path();
        if (ReadHex(folder / "idVendor") != TORVIK_CAM_VENDOR_ID || !HasAllInterfaces(folder))
            continue;
        const std::string number = ReadWord(folder / "devnum");
        if (!number.empty())
            return UsbDevice{folder.string(), std::stoi(number), ReadHex(folder / "idProduct")};
    }
    return std::nullopt;
}

std::string DriverOf(const UsbDevice& device, unsigned interface)
{
    const fs::path folder(device.folder);
    std::error_code error;
    const fs::path driver = fs::read_symlink(
        folder / (folder.filename().string() + ":1." + std::to_string(interface)) / "driver",
        error);
    return error ? std::string() : driver.filename().string();
}

std::string DriversOf(const UsbDevice& device)
{
    std::string all;
    for (unsigned i = 0; i < 5; ++i) all += std::to_string(i) + ":" + DriverOf(device, i) + " ";
    return all;
}

std::string FindEntry(const std::string& folder, const std::string& prefix,
                      const std::string& suffix)
{
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if (name.compare(0, prefix.size(), prefix) == 0 && name.size() >= suffix.size() &&
            name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
            return entry.path().string();
    }
    return {};
}

}  // namespace kernel_test
