// Firmware downloads on the unpaced simulated bus, beside the same number of
// bare calls into it.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <libusb.h>
#include <memory>
#include <string>
#include <vector>

#include "api/firmware_download.h"
#include "bench/report.h"
#include "virtual_camera/standin/bus.h"

namespace {

constexpr std::size_t kImageSize = 4U << 20;
constexpr double kMegabytes = kImageSize / 1048576.0;

/// Takes everything and does nothing.
class Sink : public vcam::UsbDevice {
public:
    std::vector<std::uint8_t> DeviceDescriptor() const override
    {
        const unsigned vendor = TORVIK_CAM_VENDOR_ID;
        const unsigned product = TORVIK_CAM_BOOT_PRODUCT_ID;
        const auto low = [](unsigned v) { return static_cast<std::uint8_t>(v & 0xFF); };
        const auto high = [](unsigned v) { return static_cast<std::uint8_t>(v >> 8); };
        return {18, 1, 0, 2, 0, 0, 0, 64, low(vendor), high(vendor), low(product), high(product),
                0, 1, 0, 0, 0, 1};
    }
    std::vector<std::uint8_t> ConfigurationDescriptor() const override
    {
        return {9, 2, 25, 0, 1, 1, 0, 0x80, 50,          // configuration
                9, 4, 2, 0, 1, 0xFF, 0xFF, 0xFF, 0,      // vendor interface 2
                7, 5, 0x01, 2, 0x00, 0x02, 0};           // bulk OUT 1
    }
    std::vector<std::uint8_t> StringDescriptor(std::uint8_t) const override { return {}; }
    bool Attached(vcam::TimeUs) override { return true; }
    vcam::TransferResult Control(const vcam::SetupPacket& setup, unsigned char*,
                                 vcam::TimeUs) override
    {
        return {vcam::TransferStatus::kCompleted, setup.length};
    }
    vcam::TransferResult SetAlternateSetting(unsigned, unsigned, vcam::TimeUs) override
    {
        return {};
    }
    vcam::TransferResult ClearHalt(std::uint8_t, vcam::TimeUs) override { return {}; }
    vcam::TransferResult BulkIn(std::uint8_t, unsigned char*, std::size_t, vcam::TimeUs) override
    {
        return {vcam::TransferStatus::kNotReady};
    }
    vcam::TransferResult BulkOut(std::uint8_t, const unsigned char*, std::size_t length,
                                 vcam::TimeUs) override
    {
        return {vcam::TransferStatus::kCompleted, length};
    }
    vcam::TransferResult IsoIn(std::uint8_t, vcam::IsoPacket*, std::size_t, vcam::TimeUs) override
    {
        return {vcam::TransferStatus::kNotReady};
    }
    void Cancelled(std::uint8_t, vcam::TimeUs) override {}
};

struct Cost {
    double wall;
    double cpu;
};

Cost Measure(const std::function<void()>& work)
{
    Cost best = {1e9, 1e9};
    for (int run = 0; run < 5; ++run) {
        const double wall = bench::WallSeconds();
        const double cpu = bench::ProcessCpuSeconds();
        work();
        best.wall = std::min(best.wall, bench::WallSeconds() - wall);
        best.cpu = std::min(best.cpu, bench::ProcessCpuSeconds() - cpu);
    }
    return best;
}

/// What any download has to do first.
std::unique_ptr<unsigned char[]> ReadFile(const char* path)
{
    std::unique_ptr<unsigned char[]> image(new unsigned char[kImageSize]);
    std::FILE* const file = std::fopen(path, "rb");
    if (file == nullptr || std::fread(image.get(), 1, kImageSize, file) != kImageSize)
        std::fputs("bench_download: the image cannot be read\n", stderr);
    if (file != nullptr)
        std::fclose(file);
    return image;
}

void BareBulk(_KelDevHandle* device, std::size_t block, const char* path)
{
    const std::unique_ptr<unsigned char[]> image = ReadFile(path);
    for (std::size_t sent = 0; sent < kImageSize; sent += block) {
        int moved = 0;
        libusb_bulk_transfer(device->handle, 0x01, image.get() + sent, static_cast<int>(block),
                             &moved, 5000);
    }
}

void BareControl(_KelDevHandle* device, const char* path)
{
    const std::unique_ptr<unsigned char[]> image = ReadFile(path);
    for (std::size_t sent = 0; sent < kImageSize; sent += 32) {
        libusb_control_transfer(device->handle, 0x20, 0x01, 3 << 8, 6 << 8, image.get() + sent,
                                32, 1000);
    }
}

void Compare(const std::string& name, const std::function<void()>& download,
             const std::function<void()>& bare)
{
    const Cost bare_cost = Measure(bare);
    const Cost cost = Measure(download);
    bench::Heading(name + ", 4 MiB");
    bench::Figure("time", cost.wall / kMegabytes * 1e3, "ms/MiB");
    bench::Figure("CPU", cost.cpu / kMegabytes * 1e3, "ms/MiB");
    bench::Figure("time of reading the file and the bare calls", bare_cost.wall / kMegabytes * 1e3, "ms/MiB");
    bench::Figure("time / bare calls", cost.wall / bare_cost.wall, "", "1.2 or less");
    bench::Figure("CPU / bare calls", cost.cpu / bare_cost.cpu, "", "1.2 or less");
}

}  // namespace

int main()
{
    char path[] = "bench_image_XXXXXX";
    const int descriptor = mkstemp(path);
    std::FILE* const file = fdopen(descriptor, "wb");
    std::vector<unsigned char> image(kImageSize, 0x5A);
    std::fwrite(image.data(), 1, image.size(), file);
    std::fclose(file);

    vcam::standin::Bus::Instance().Attach(std::make_shared<Sink>());
    _KelDevHandle* const device =
        OpenKelDevice(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_BOOT_PRODUCT_ID, 2);
    if (device == nullptr) {
        std::fputs("bench_download: the simulated device cannot be opened\n", stderr);
        std::remove(path);
        return 1;
    }

    Compare(
        "UpdateFirmwarePcsyncPath", [&] { UpdateFirmwarePcsyncPath(device, path, 4); },
        [&] { BareBulk(device, 512, path); });
    Compare(
        "UpdateFirmwareUvcPath", [&] { UpdateFirmwareUvcPath(device, path, 4); },
        [&] { BareControl(device, path); });
    Compare(
        "UpdateFirmware", [&] { UpdateFirmware(device, path, 1); },
        [&] { BareBulk(device, 32768, path); });
    Compare(
        "UpdateKelFirmwareWithCheckSum",
        [&] { UpdateKelFirmwareWithCheckSum(device, path, 1); },
        [&] { BareBulk(device, 32768, path); });

    CloseKelDevice(device);
    std::remove(path);
    return 0;
}
