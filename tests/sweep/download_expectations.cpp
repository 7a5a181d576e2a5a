// Downloads: by the loader, and called directly.
#include <libusb.h>

#include "tests/sweep/expectation_rows.h"

namespace sweep {
namespace {

constexpr long kFailed = static_cast<int>(0x80000003);
constexpr char kUp[] = "start-up";
constexpr char kDirect[] =
    "update firmware|update with checksum|bulk download|uvc download|boot code|write protection";
constexpr char kControl[] = "control_transfer";
constexpr char kBlock[] = "bulk_transfer";
constexpr char kXuError[] = "KelXUCmd failed : 0x";
constexpr char kFlashFailed[] = "Update flash failed.";
constexpr char kFlashed[] = "Update flash successfully.";
constexpr char kNotLoaded[] = "CCameraFwLoader :Failed to load firmware, exit.";
constexpr char kNoDevice[] = "No KEL device has been detected.";
constexpr int kPresenceTests = 152;

/// The loader gives up, without adapters, before the boot code's turn.
Expect NoFirmware()
{
    return NotReady()
        .Line("Abnormal StopRecording.", -1)
        .Line(kNotLoaded)
        .Line(kFlashed, -2);
}
/// The burn was not heard, and the boot loader stays.
Expect NeverBack()
{
    return NotReady()
        .Line("Abnormal StopRecording.", -1)
        .Line(kFlashed, -1)
        .Line(kNoDevice, kPresenceTests)
        .Line("Camera reboot failed.");
}
Expect Failed()
{
    return Expect().Result("download", kFailed).Line(kFlashed, -1);
}
Expect NotOpened()
{
    return Expect().Result("open", 0).CutShort().Line(kFlashed, -1);
}
Expect XuError(Expect expected)
{
    return expected.Line(kXuError).Exactly("KelXUCmd failed : 0x{hex}");
}

}  // namespace

const std::vector<ExpectationRow>& DownloadExpectations()
{
    static const std::vector<ExpectationRow> rows = {
        // An unknown boot code is left alone; one that reads as 0 is replaced.
        {"", kUp, kControl, "boot open", "version command", 0, kFails, kAnyCode,
         XuError(Expect()).Line(kFlashed, -1)},
        {"", kUp, kControl, "boot open", "version reply", 0, kFails, kAnyCode, XuError(Expect())},
        {"", kUp, kControl, "boot open", "version reply", 0, kShorter, kAnyCode, Expect()},
        // The size is told once more by the burn request. Failed blocks are not
        // looked at, but the device misses them.
        {"", kUp, kControl, "boot open", "announcement", 0, kFails, kAnyCode, Expect()},
        {"", kUp, kBlock, "boot open", "", 0, kFails, kAnyCode, NoFirmware().Line(kFlashFailed)},
        {"", kUp, kControl, "boot open", "burn", 0, kFails, LIBUSB_ERROR_NO_DEVICE, NeverBack()},
        {"", kUp, kControl, "boot open", "burn", 0, kFails, kAnyCode,
         NoFirmware().Line(kFlashFailed)},
        {"", kUp, kControl, "boot open", "download init|download block", 0, kFails, kAnyCode,
         XuError(NoFirmware())},
        {"", kUp, kControl, "boot open", "download burn", 0, kFails, kAnyCode,
         XuError(NeverBack())},
        // Boot code goes to the running camera, and its failure is no obstacle.
        {"", kUp, kControl, "camera open", "download init|download block", 0, kFails, kAnyCode,
         XuError(Expect()).Line(kNotLoaded).Line(kFlashed, -1)},
        {"", kUp, kControl, "camera open", "download burn", 0, kFails, kAnyCode,
         XuError(Expect())},

        {"write protection", "open", "init", "", "", 0, kFails, kAnyCode,
         Expect().Result("open", 0).CutShort().Line("libusb_init return error 0x")},
        {"write protection", "open", "get_device_list", "", "", 0, kFails, kAnyCode,
         Expect().Result("open", 0).CutShort().Line("libusb_get_device_list error 0x")},
        {"write protection", "open", "get_device_descriptor", "", "", 0, kFails, kAnyCode,
         Expect()
             .Result("open", 0)
             .CutShort()
             .Line("failed to get device descriptor")
             .Line(kNoDevice)},
        {"write protection", "open", "open", "", "", 0, kFails, kAnyCode,
         Expect().Result("open", 0).CutShort().Leaves("open refused")},
        {"write protection", "open", "detach_kernel_driver|claim_interface", "", "", 0, kFails,
         kAnyCode, Expect().Result("open", 0).CutShort().Leaves("claim refused")},
        {kDirect, "open", "init", "", "", 0, kFails, kAnyCode,
         NotOpened().Line("libusb_init return error 0x").Exactly(
             "libusb_init return error 0x{hex},\r\n")},
        {kDirect, "open", "get_device_list", "", "", 0, kFails, kAnyCode,
         NotOpened().Line("libusb_get_device_list error 0x")},
        {kDirect, "open", "get_device_descriptor", "", "", 0, kFails, kAnyCode,
         NotOpened().Line("failed to get device descriptor").Line(kNoDevice)},
        {kDirect, "open", "open", "", "", 0, kFails, kAnyCode,
         NotOpened().Leaves("open refused")},
        {kDirect, "open", "detach_kernel_driver|claim_interface", "", "", 0, kFails, kAnyCode,
         NotOpened().Leaves("claim refused")},

        // Only this procedure looks at its blocks, and forgives a time-out,
        // after which the device refuses what it has.
        {"update firmware", "download", kBlock, "", "", 0, kFails, LIBUSB_ERROR_TIMEOUT,
         Failed().Line("PCSYNC_BULK_OUT_EP(1) timeout.").Line(kFlashFailed)},
        {"update firmware", "download", kBlock, "", "", 0, kFails, kAnyCode,
         Failed().Line("PCSYNC_BULK_OUT_EP(1) Error.")},
        {"update with checksum", "download", kControl, "", "checksum", 0, kFails, kAnyCode,
         Failed().Line("Check sum does not match.")},
        {"update with checksum", "download", kBlock, "", "", 0, kFails, kAnyCode,
         Failed().Line("Check sum does not match.")},
        {"update firmware|update with checksum|bulk download", "download", kControl, "",
         "announcement", 0, kFails, kAnyCode, Expect()},
        // A boot loader that is gone has begun to burn.
        {"bulk download", "download", kControl, "", "burn", 0, kFails, LIBUSB_ERROR_NO_DEVICE,
         Expect()},
        {"update firmware|update with checksum|bulk download", "download", "", "", "", 0, kFails,
         kAnyCode, Failed().Line(kFlashFailed)},
        {"uvc download", "download", kControl, "", "download init|download block", 0, kFails,
         kAnyCode, XuError(Failed())},
        {"boot code", "download", kControl, "", "download init|download block", 0, kFails,
         kAnyCode, XuError(Failed()).Line(kNotLoaded)},
        {"uvc download|boot code", "download", kControl, "", "download burn", 0, kFails, kAnyCode,
         XuError(Expect())},
        {"write protection", "download", kControl, "", "write protection", 0, kFails, kAnyCode,
         Expect()},
    };
    return rows;
}

}  // namespace sweep
