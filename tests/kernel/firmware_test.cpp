// Firmware downloads from the boot loader, over both of its paths.
#include <fstream>

#include "tests/kernel/kernel_fixture.h"
#include "tests/kernel/process_state.h"
#include "virtual_camera/model/firmware_image.h"

namespace kernel_test
{
namespace
{

constexpr char kImage[] = "/mtd_rwarea/wiru/bin/TorvikFW.bin";

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

struct Path {
    const char* name;
    const char* identity;
    const char* log_line;
    /// The open that asks a boot loader for an interface which it does not have
    /// leaves its handle and context as they are.
    std::size_t files_left, threads_left;
};

void PrintTo(const Path& path, std::ostream* out)
{
    *out << path.name;
}

class FirmwareDownload : public KernelTest, public testing::WithParamInterface<Path>
{
protected:
    // The camera takes its real time to come back, so the library must wait.
    FirmwareDownload() : KernelTest(1) {}

    std::string Script() const override
    {
        return std::string("set identity ") + GetParam().identity +
               "\nset firmware-flash /tmp/flash\n";
    }
};

TEST_P(FirmwareDownload, BurnsTheImageAndFindsTheCameraThatComesBack)
{
    const std::string image = ReadFile("/firmware.bin");
    ASSERT_FALSE(image.empty());
    TvRoot::Write(kImage, image);
    const auto boot_loader = FindCamera();
    ASSERT_TRUE(boot_loader);
    EXPECT_EQ(boot_loader->product, unsigned{TORVIK_CAM_BOOT_PRODUCT_ID});
    const ProcessState before;

    CreateAndInit(kDualH264);
    EXPECT_TRUE(m_log.Contains(GetParam().log_line));
    EXPECT_EQ(ReadFile("/tmp/flash"), image);
    const auto camera = FindCamera();
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->product, unsigned{TORVIK_CAM_PRODUCT_ID});
    EXPECT_NE(camera->number, boot_loader->number);
    EXPECT_EQ(TvRoot::Read("/dtv/cm_cam_version"), "1.26.39");

    FrameCollector& main = Observe(CAM_STREAM_H264_MAIN);
    ASSERT_TRUE(m_subject->StartRecording());
    EXPECT_TRUE(main.WaitFor(10));
    EXPECT_TRUE(m_subject->StopRecording());
    Destroy();
    before.ExpectUnchanged(GetParam().files_left, GetParam().threads_left);
}

INSTANTIATE_TEST_SUITE_P(Paths, FirmwareDownload,
                         testing::Values(Path{"Bulk", "boot-loader",
                                              "Enter UpdateFirmwarePcsyncPath. \r\n", 0, 0},
                                         Path{"ExtensionUnit", "boot-loader-uvc",
                                              "Enter UpdateFirmwareUvcPath. \r\n", 5, 1}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace kernel_test
