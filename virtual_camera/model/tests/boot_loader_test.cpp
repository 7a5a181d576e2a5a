#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <numeric>

#include "host_side.h"
#include "virtual_camera/model/firmware_image.h"

namespace vcam::test {
namespace {

Bytes FirmwareImage(std::size_t size)
{
    Bytes image(size);
    for (std::size_t i = 32; i < size; ++i) image[i] = static_cast<std::uint8_t>(i * 7);
    const char magic[] = "VCAMIMG1";
    std::copy_n(magic, 8, image.begin());
    StoreLe(&image[8], size, 4);
    StoreLe(&image[12], 1, 4);
    const Bytes version{0, 2, 0, 0x26, 0, 5};
    std::copy(version.begin(), version.end(), image.begin() + 16);
    if (size >= 0x2036)
        StoreLe(&image[0x2032], 0, 4);
    StoreLe(&image[24], ImageChecksum(image), 8);
    return image;
}

CameraOptions Loader(Identity identity)
{
    CameraOptions options;
    options.identity = identity;
    return options;
}

struct Download {
    explicit Download(CameraOptions options) : camera(std::move(options)), host(camera) {}

    CameraModel camera;
    HostSide host;

    void SendBulk(const Bytes& image, std::size_t block)
    {
        host.Out(0x40, 0x82, image.size() & 0xFFFFU, static_cast<unsigned>(image.size() >> 16U));
        for (std::size_t at = 0; at < image.size(); at += block)
            camera.BulkOut(kFlashEndpoint, &image[at], std::min(block, image.size() - at),
                           host.now);
    }
    TransferStatus Burn(std::uint8_t request, std::size_t size)
    {
        return host.Out(0x40, request, size & 0xFFFFU, static_cast<unsigned>(size >> 16U)).status;
    }
    void SendUnit(Bytes image)
    {
        host.Out(0x20, kSetCur, 0x0400, 0x0600, {1, 0, 3, 0, 0, 0, 0, 0});
        image.resize((image.size() + 31) / 32 * 32);
        for (std::size_t at = 0; at < image.size(); at += 32) {
            const auto from = image.begin() + static_cast<std::ptrdiff_t>(at);
            host.Out(0x20, kSetCur, 0x0300, 0x0600, Bytes(from, from + 32));
        }
        host.Out(0x20, kSetCur, 0x0400, 0x0600, {1, 1, 3, 0, 0, 0, 0, 0});
    }
    void ExpectCameraAgain(const Bytes& image)
    {
        EXPECT_FALSE(camera.Attached(host.now));
        host.now += 1000000;
        ASSERT_TRUE(camera.Attached(host.now));
        EXPECT_EQ(camera.CurrentIdentity(), Identity::kCamera);
        EXPECT_EQ(LoadLe(&camera.DeviceDescriptor()[10], 2), unsigned{TORVIK_CAM_PRODUCT_ID});
        EXPECT_EQ(camera.FirmwareFlash(), image);
        host.Isp({11});
        EXPECT_EQ(host.In(0xA0, kGetCur, 0x0200, 0x0600, 8), (Bytes{0, 0, 0, 2, 0, 0x26, 0, 5}));
    }
};

TEST(BootLoader, ReportsTheBootCodeVersion)
{
    CameraOptions options = Loader(Identity::kBootLoaderBulk);
    options.boot_code_version = 0x12345;
    Download download(options);
    download.host.Out(0x20, kSetCur, 0x0100, 0x0600, {11, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(download.host.In(0xA0, kGetCur, 0x0200, 0x0600, 8),
              (Bytes{0, 0, 0, 0, 0, 1, 0x23, 0x45}));
    EXPECT_EQ(LoadLe(&download.camera.DeviceDescriptor()[10], 2),
              unsigned{TORVIK_CAM_BOOT_PRODUCT_ID});
}

TEST(BootLoader, BurnsAnImageFromTheBulkPipeAndComesBackAsTheCamera)
{
    Download download(Loader(Identity::kBootLoaderBulk));
    const Bytes image = FirmwareImage(10001);
    download.SendBulk(image, 512);
    EXPECT_EQ(download.camera.Download().blocks, 20U);
    EXPECT_EQ(download.Burn(0x08, image.size()), TransferStatus::kNoDevice);
    download.ExpectCameraAgain(image);
}

TEST(BootLoader, BurnsAnImageFromTheExtensionUnitWithoutItsPadding)
{
    Download download(Loader(Identity::kBootLoaderUvc));
    const Bytes image = FirmwareImage(1001);
    download.SendUnit(image);
    EXPECT_EQ(download.host.status, TransferStatus::kCompleted);
    EXPECT_EQ(download.camera.Download().blocks, 32U);
    download.ExpectCameraAgain(image);
}

TEST(BootLoader, RefusesToBurnWhenABlockWasLost)
{
    Download download(Loader(Identity::kBootLoaderBulk));
    download.camera.AddFaults("block at 3 lose");
    const Bytes image = FirmwareImage(4096);
    download.SendBulk(image, 512);
    EXPECT_EQ(download.Burn(0x08, image.size()), TransferStatus::kStall);
    EXPECT_TRUE(download.camera.Attached(download.host.now));
    EXPECT_TRUE(download.camera.FirmwareFlash().empty());
}

TEST(BootLoader, ChecksTheSumWhereOneIsSent)
{
    Download download(Loader(Identity::kBootLoaderBulk));
    const Bytes image = FirmwareImage(5000);
    download.SendBulk(image, 32768);
    Bytes record;
    Append(record, ImageChecksum(image) + 1, 8);
    Append(record, image.size(), 4);
    EXPECT_EQ(download.host.Out(0x40, 0x07, 0, 0, record).status, TransferStatus::kStall);
    StoreLe(record.data(), ImageChecksum(image), 8);
    EXPECT_EQ(download.host.Out(0x40, 0x07, 0, 0, record).status, TransferStatus::kCompleted);
}

TEST(BootLoader, StaysAwayWhenItIsUnpluggedWhileItReboots)
{
    Download download(Loader(Identity::kBootLoaderBulk));
    const Bytes image = FirmwareImage(600);
    download.SendBulk(image, 512);
    download.Burn(0x08, image.size());
    ASSERT_FALSE(download.camera.Attached(download.host.now));
    download.camera.Unplug();
    download.host.now += 60000000;
    EXPECT_FALSE(download.camera.Attached(download.host.now));
    download.camera.Replug();
    EXPECT_TRUE(download.camera.Attached(download.host.now));
}

TEST(BootLoader, MayNeverComeBack)
{
    CameraOptions options = Loader(Identity::kBootLoaderBulk);
    options.reboot_time = kNever;
    Download download(options);
    const Bytes image = FirmwareImage(600);
    download.SendBulk(image, 512);
    download.Burn(0x08, image.size());
    EXPECT_FALSE(download.camera.Attached(download.host.now + 3600000000ULL));
}

TEST(Firmware, TakesBootCodeWithoutLeavingTheBus)
{
    Download download{CameraOptions{}};
    Bytes image(0x2036);
    StoreLe(&image[0x2032], unsigned{BOOTCODE_MAGIC} << 20U | 0x20, 4);
    download.SendUnit(image);
    EXPECT_TRUE(download.camera.Attached(download.host.now));
    Bytes padded = image;
    padded.resize((image.size() + 31) / 32 * 32);
    EXPECT_EQ(download.camera.BootCodeFlash(), padded);
    EXPECT_TRUE(download.camera.FirmwareFlash().empty());
}

TEST(Firmware, WritesItsFlashToAFile)
{
    const std::string path = testing::TempDir() + "vcam_flash.bin";
    CameraOptions options = Loader(Identity::kBootLoaderBulk);
    options.firmware_flash_file = path;
    Download download(options);
    const Bytes image = FirmwareImage(777);
    download.SendBulk(image, 512);
    download.Burn(0x08, image.size());
    std::ifstream file(path, std::ios::binary);
    EXPECT_EQ(image, Bytes(std::istreambuf_iterator<char>(file), {}));
    std::remove(path.c_str());
}

}  // namespace
}  // namespace vcam::test
