// Bring-up: the loader's calls, then those of the two transports.
#include "tests/sweep/expectation_rows.h"

namespace sweep {
namespace {

constexpr char kUp[] = "start-up";
constexpr char kBulk[] = "bulk boot loader";
constexpr char kUvc[] = "uvc boot loader";
constexpr char kBoot[] = "bulk boot loader|uvc boot loader";
constexpr char kFlashed[] = "Update flash successfully.";
constexpr char kInitError[] = "libusb_init return error 0x";
constexpr char kListError[] = "libusb_get_device_list error 0x";
constexpr char kDescriptorError[] = "failed to get device descriptor";
constexpr char kNoDevice[] = "No KEL device has been detected.";
constexpr char kDetachError[] = "libusb_detach_kernel_driver fail!(";
constexpr char kClaim1Error[] = "libusb_claim_interface (VideoStreaming) fail!(";
constexpr char kClaim0Error[] = "libusb_claim_interface (VideoControl) fail!(";
constexpr char kClaim3Error[] = "libusb_claim_interface (AudioStream) fail!(";
constexpr char kClaim2Error[] = "libusb_claim_interface (AudioControl)  fail!(";
constexpr char kXuError[] = "KelXUCmd failed : 0x";
constexpr char kAbnormal[] = "Abnormal StopRecording.";
constexpr char kUnreachable[] = "video_capturer is NULL or m_State is CAM_STATE_DISCONNECTED";

Expect InitError()
{
    return Expect().Line(kInitError).Exactly("libusb_init return error 0x{hex},\r\n");
}
Expect ListError()
{
    return Expect().Line(kListError).Exactly("libusb_get_device_list error 0x{lower} \r\n");
}
Expect DescriptorError()
{
    return Expect().Line(kDescriptorError).Line(kNoDevice);
}

/// The loader ends without adapters, so that nothing is stopped at the end.
Expect LoaderGivesUp(Expect after)
{
    return after.Told("0").CutShort().Line(kAbnormal, -1);
}
Expect CameraNotThere(Expect after)
{
    return LoaderGivesUp(after).Line("CCameraFwLoader: Libusb failed to open KEL device.");
}
Expect CameraNotOpened(Expect after)
{
    return LoaderGivesUp(after).Line("CCameraFwLoader: Failed to open camera device. exit");
}

/// One transport is missing: the camera is not usable, although the other is
/// opened. The final stop finds it disconnected.
Expect NotUsable()
{
    return NotReady().Line(kAbnormal, -1).Line(kUnreachable, 2);
}
Expect NoVideo()
{
    return NotUsable().Line("KelUvcCapture:: Device not exist.");
}
/// Sound that cannot be opened is only reported; recording opens it again.
Expect Silent()
{
    return Expect().Line("Failed to start streaming.").Line("Failed to open audio streaming.");
}
Expect NoSound()
{
    return NotUsable()
        .Line("CAudioCapture:: Device not exist.")
        .Line("Failed to start streaming.")
        .Line("Failed to open audio streaming.");
}

}  // namespace

const std::vector<ExpectationRow>& StartUpExpectations()
{
    static const std::vector<ExpectationRow> rows = {
        // The boot loader without interface 2: the first look opens it and
        // cannot claim. A look that does not get as far leaves nothing open.
        {kUvc, kUp, "init", "boot open 2", "", 0, kFails, kAnyCode, InitError().Leaves("nothing")},
        {kUvc, kUp, "get_device_list", "boot open 2", "", 0, kFails, kAnyCode,
         ListError().Leaves("nothing")},
        {kUvc, kUp, "get_device_descriptor", "boot open 2", "", 0, kFails, kAnyCode,
         DescriptorError().Leaves("nothing")},
        {kUvc, kUp, "open", "boot open 2", "", 0, kFails, kAnyCode,
         Expect().Leaves("open refused")},
        {kUvc, kUp, "detach_kernel_driver|claim_interface", "boot open 2", "", 0, kFails, kAnyCode,
         Expect()},
        // The second look, on interface 0, is repeated.
        {kUvc, kUp, "open", "boot open", "", 0, kFails, kAnyCode,
         Expect().Leaves("open refused, twice")},
        {kUvc, kUp, "detach_kernel_driver|claim_interface", "boot open", "", 0, kFails, kAnyCode,
         Expect().Leaves("claim refused, twice")},
        // After a failed look at interface 2 the boot loader is taken on
        // interface 0, and gets its image over the extension unit.
        {kBulk, kUp, "open", "boot open", "", 0, kFails, kAnyCode,
         Expect().Leaves("open refused")},
        {kBulk, kUp, "detach_kernel_driver|claim_interface", "boot open", "", 0, kFails, kAnyCode,
         Expect().Leaves("claim refused")},
        {kBulk, kUp, "init", "boot open", "", 0, kFails, kAnyCode, InitError()},
        {kBulk, kUp, "get_device_list", "boot open", "", 0, kFails, kAnyCode, ListError()},

        // Where there is no boot loader, six looks find none anyway.
        {"recording", kUp, "init", "boot open", "", 0, kFails, kAnyCode,
         InitError().Line(kNoDevice, -1)},
        {"recording", kUp, "get_device_list", "boot open", "", 0, kFails, kAnyCode,
         ListError().Line(kNoDevice, -1)},
        {"recording", kUp, "get_device_descriptor", "boot open", "", 0, kFails, kAnyCode,
         Expect().Line(kDescriptorError)},
        {"", kUp, "init", "boot open", "", 0, kFails, kAnyCode, InitError()},
        {"", kUp, "get_device_list", "boot open", "", 0, kFails, kAnyCode, ListError()},
        {"", kUp, "get_device_descriptor", "boot open", "", 0, kFails, kAnyCode,
         DescriptorError()},

        {"", kUp, "init", "presence", "", 0, kFails, kAnyCode, CameraNotThere(InitError())},
        {"", kUp, "get_device_list", "presence", "", 0, kFails, kAnyCode,
         CameraNotThere(ListError())},
        {"", kUp, "get_device_descriptor", "presence", "", 0, kFails, kAnyCode,
         CameraNotThere(DescriptorError())},

        // Waiting for the reboot goes on.
        {"", kUp, "init", "reboot", "", 0, kFails, kAnyCode, InitError()},
        {"", kUp, "get_device_list", "reboot", "", 0, kFails, kAnyCode, ListError()},
        {"", kUp, "get_device_descriptor", "reboot", "", 0, kFails, kAnyCode, DescriptorError()},

        // After a download the boot code would have come next.
        {kBoot, kUp, "init", "camera open", "", 0, kFails, kAnyCode,
         CameraNotOpened(InitError()).Line(kFlashed, -1)},
        {kBoot, kUp, "get_device_list", "camera open", "", 0, kFails, kAnyCode,
         CameraNotOpened(ListError()).Line(kFlashed, -1)},
        {kBoot, kUp, "get_device_descriptor", "camera open", "", 0, kFails, kAnyCode,
         CameraNotOpened(DescriptorError()).Line(kFlashed, -1)},
        {kBulk, kUp, "open", "camera open", "", 0, kFails, kAnyCode,
         CameraNotOpened(Expect().Leaves("open refused")).Line(kFlashed, -1)},
        {kUvc, kUp, "open", "camera open", "", 0, kFails, kAnyCode,
         CameraNotOpened(Expect().Leaves("open refused, twice")).Line(kFlashed, -1)},
        {"", kUp, "init", "camera open", "", 0, kFails, kAnyCode, CameraNotOpened(InitError())},
        {"", kUp, "get_device_list", "camera open", "", 0, kFails, kAnyCode,
         CameraNotOpened(ListError())},
        {"", kUp, "get_device_descriptor", "camera open", "", 0, kFails, kAnyCode,
         CameraNotOpened(DescriptorError())},
        {"", kUp, "open", "camera open", "", 0, kFails, kAnyCode,
         CameraNotOpened(Expect().Leaves("open refused"))},
        // The version is only reported.
        {"", kUp, "control_transfer", "camera open", "version command", 0, kFails, kAnyCode,
         Expect().Line(kXuError).Exactly("KelXUCmd failed : 0x{hex}")},
        {"", kUp, "control_transfer", "camera open", "version reply", 0, kFails, kAnyCode,
         Expect().Line(kXuError).Exactly("Camera-Version:0.26.00")},
        {"", kUp, "control_transfer", "camera open", "version reply", 0, kShorter, kAnyCode,
         Expect().Exactly("Camera-Version:0.26.00")},

        {"", kUp, "init|open_device_with_vid_pid", "video", "", 0, kFails, kAnyCode,
         NoVideo().Line("KEL Camera Device not found")},
        {"", kUp, "get_configuration", "video", "", 0, kFails, kAnyCode,
         NoVideo().Line("libusb_get_configuration Error!")},
        // "Cannot tell" counts as a driver, which is detached.
        {"", kUp, "kernel_driver_active", "video|audio", "", 0, kFails, kAnyCode, Expect()},
        // A driver that stays keeps its interface.
        {"", kUp, "detach_kernel_driver", "video", "1", 0, kFails, kAnyCode,
         NoVideo().Line(kDetachError).Line(kClaim1Error).Exactly(
             "libusb_detach_kernel_driver fail!({code})\n")},
        {"", kUp, "detach_kernel_driver", "video", "0", 0, kFails, kAnyCode,
         NoVideo().Line(kDetachError).Line(kClaim0Error).Exactly(
             "libusb_detach_kernel_driver fail!({code})\n")},
        {"", kUp, "claim_interface", "video", "1", 0, kFails, kAnyCode,
         NoVideo().Line(kClaim1Error).Exactly(
             "libusb_claim_interface (VideoStreaming) fail!({code})\n")},
        {"", kUp, "claim_interface", "video", "0", 0, kFails, kAnyCode,
         NoVideo().Line(kClaim0Error).Exactly(
             "libusb_claim_interface (VideoControl) fail!({code})\n")},
        {"", kUp, "set_interface_alt_setting", "video", "1/0", 0, kFails, kAnyCode,
         Expect()
             .Line("libusb_set_interface_alt_setting (VideoStream) fail!(")
             .Exactly("libusb_set_interface_alt_setting (VideoStream) fail!({code})\n")},

        // The look whether the device is still there, before each setting.
        {"", kUp, "get_device_list", "video", "", 1, kFails, kAnyCode,
         Expect().Line("libusb_set_interface_alt_setting (VideoStream) fail!(")},
        {"", kUp, "get_device_list", "audio", "", 1, kFails, kAnyCode, Expect()},
        {"", kUp, "get_device_list", "audio", "", 2, kFails, kAnyCode,
         Silent().Line("UAC_EnableAudioStream Error: IF = 3, Alt = 1")},

        {"", kUp, "init|open_device_with_vid_pid", "audio", "", 0, kFails, kAnyCode,
         NoSound().Line("KEL Camera Device not found")},
        {"", kUp, "get_configuration", "audio", "", 0, kFails, kAnyCode,
         NoSound().Line("libusb_get_configuration Error!")},
        {"", kUp, "detach_kernel_driver", "audio", "3", 0, kFails, kAnyCode,
         NoSound().Line(kDetachError).Line(kClaim3Error).Exactly(
             "libusb_detach_kernel_driver fail!({code})\n")},
        {"", kUp, "detach_kernel_driver", "audio", "2", 0, kFails, kAnyCode,
         NoSound().Line(kDetachError).Line(kClaim2Error).Exactly(
             "libusb_detach_kernel_driver fail!({code})\n")},
        {"", kUp, "claim_interface", "audio", "3", 0, kFails, kAnyCode,
         NoSound().Line(kClaim3Error).Exactly(
             "libusb_claim_interface (AudioStream) fail!({code})\n")},
        {"", kUp, "claim_interface", "audio", "2", 0, kFails, kAnyCode,
         NoSound().Line(kClaim2Error).Exactly(
             "libusb_claim_interface (AudioControl)  fail!({code})\n")},
        {"", kUp, "set_interface_alt_setting", "audio", "3/0", 0, kFails, kAnyCode, Expect()},
        {"", kUp, "set_interface_alt_setting", "audio", "3/1", 0, kFails, kAnyCode,
         Silent().Line("UAC_EnableAudioStream Error: IF = 3, Alt = 1")},
        {"", kUp, "control_transfer", "audio", "rate set", 0, kFails, kAnyCode,
         Silent()
             .Line("Failed to SET sampling rate: (")
             .Exactly("Failed to SET sampling rate: ({code})\n")},
        {"", kUp, "control_transfer", "audio", "rate get", 0, kNotAnswered, kAnyCode,
         Silent()
             .Line("Failed to GET sampling rate: (")
             .Exactly("Failed to GET sampling rate: ({code})\n")},
        {"", kUp, "control_transfer", "audio", "volume maximum|volume minimum", 0, kNotAnswered,
         kAnyCode,
         Silent()
             .Line("libusb_control_transfer: Error: (")
             .Exactly("libusb_control_transfer: Error: ({code})\n")},
        {"", kUp, "alloc_transfer", "audio", "82", 0, kFails, kAnyCode, Silent()},
        {"", kUp, "get_max_iso_packet_size", "audio", "", 0, kFails, kAnyCode,
         Silent().Line("libusb_get_max_iso_packet_size Fail")},
        {"", kUp, "submit_transfer", "audio", "82 first", 0, kFails, kAnyCode,
         Silent().Line("libusb_fill_iso_transfer error: Audio ")},
        {"", kUp, "control_transfer", "audio", "volume set", 0, kFails, kAnyCode,
         Expect().Line("UAC_SetCurVolume: Error: (").Exactly("UAC_SetCurVolume: Error: ({code})\n")},
        {"", kUp, "control_transfer", "audio", "mains frequency", 0, kFails, kAnyCode, Expect()},
    };
    return rows;
}

}  // namespace sweep
