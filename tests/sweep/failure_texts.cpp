// Every text by which the driver reports that something went wrong.
#include "tests/sweep/expectations.h"
#include "tests/sweep/expectation_rows.h"

namespace sweep {

const std::vector<std::string>& FailureTexts()
{
    static const std::vector<std::string> texts = {
        // Finding and opening.
        "libusb_init return error 0x",
        "libusb_get_device_list error 0x",
        "failed to get device descriptor",
        "No KEL device has been detected.",
        "KEL Camera Device not found",
        "Found an KEL device VID",
        "libusb_get_configuration Error!",
        "libusb_detach_kernel_driver fail!(",
        "libusb_claim_interface (VideoStreaming) fail!(",
        "libusb_claim_interface (VideoControl) fail!(",
        "libusb_claim_interface (AudioStream) fail!(",
        "libusb_claim_interface (AudioControl)  fail!(",
        "libusb_set_interface_alt_setting (VideoStream) fail!(",
        "KelUvcCapture:: Device not exist.",
        "CAudioCapture:: Device not exist.",
        // Streams.
        "UVC_query_ctrl Error:Probe UVC_SET_CUR",
        "UVC_query_ctrl Error:Probe UVC_GET_MAX",
        "UVC_query_ctrl Error:Probe UVC_GET_MIN",
        "UVC_query_ctrl Error:Probe UVC_GET_CUR",
        "UVC_query_ctrl Error:Commit UVC_SET_CUR",
        "libusb_get_max_packet_size Fail",
        "libusb_submit_transfer error: Video 3",
        "UAC_DisableVideoStream: IF = 1, Alt = 0 Error!!",
        "Failed to SET sampling rate: (",
        "Failed to GET sampling rate: (",
        "libusb_control_transfer: Error: (",
        "UAC_EnableAudioStream Error: IF = 3, Alt = 1",
        "libusb_get_max_iso_packet_size Fail",
        "libusb_fill_iso_transfer error: Audio ",
        "UAC_SetCurVolume: Error: (",
        "UAC_DisableAudioStream: IF = 3, Alt = 0 Error!!",
        "LIBUSB_TRANSFER_TIMED_OUT! EP = ",
        "LIBUSB_TRANSFER_NO_DEVICE",
        "LIBUSB_TRANSFER_OVERFLOW! EP = ",
        "Audio Transfer Unknown Status=",
        "Frame Buffer for writing is NULL",
        // The camera object.
        "Failed to start streaming.",
        "Failed to config device.",
        "Failed to set video mode.",
        "Failed to open audio streaming.",
        "StartRecording twice",
        "Abnormal StopRecording.",
        "video_capturer is NULL or m_State is CAM_STATE_DISCONNECTED",
        "Fail set property",
        "Fail set MIC volume",
        "Video Auto Test failed.",
        "Get Firmware Version error",
        "Camera Versins is 0",
        "Can't open file.",
        // Commands, downloads and the loader.
        "KelXUCmd failed : 0x",
        "KelIspCmdGet failed : 0x",
        "Update flash failed.",
        "Update flash successfully.",
        "Check sum does not match.",
        "PCSYNC_BULK_OUT_EP(1) timeout.",
        "PCSYNC_BULK_OUT_EP(1) Error.",
        "CCameraFwLoader: Libusb failed to open KEL device.",
        "CCameraFwLoader: Failed to open camera device. exit",
        "CCameraFwLoader :Failed to load firmware, exit.",
        "Camera reboot failed.",
        "Camera is disconnected.",
    };
    return texts;
}

std::vector<const std::vector<ExpectationRow>*> AllExpectations()
{
    return {&UnplugExpectations(),   &DownloadExpectations(), &StartUpExpectations(),
            &RecordingExpectations(), &PropertyExpectations(), &TransferExpectations()};
}

}  // namespace sweep
