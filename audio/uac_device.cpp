// Opening and closing of the audio function.

#include "audio/transfer_param.h"
#include "audio/uac_constants.h"
#include "audio/uac_transport.h"
#include "devcmd/alternate_setting.h"
#include "devcmd/camera_device.h"
#include "runtime/debug_log.h"

namespace {
constexpr int kIsoPackets = 10;
/// The interface that the destructor releases before it closes the device,
/// which gives back the claimed ones.
constexpr int kReleasedInterface = 1;
}  // namespace

CLibUSB_UacCtrl::CLibUSB_UacCtrl() : m_iso_packets(kIsoPackets) {}

CLibUSB_UacCtrl::~CLibUSB_UacCtrl()
{
    CAM_LOG(kLogDebugging, "CLibUSB_UacCtrl::~CLibUSB_UacCtrl() +\r\n");
    if (m_device_handle != nullptr) {
        // A stream that nobody stopped: closing the device under its transfers
        // would leave them without a completion.
        m_streaming = false;
        if (AnyInFlight())
            CancelTransfers();
        PumpCancellations();
        libusb_release_interface(m_device_handle, kReleasedInterface);
        CloseDevice();
    }
    FreeTransfers();
    for (unsigned i = 0; i < kTransfers; ++i) {
        if (m_transfers[i] == nullptr)
            continue;
        // Its completion never came: it stays allocated, and so does the buffer
        // that libusb may still write into.
        m_params[i]->owner = nullptr;
        static_cast<void>(m_params[i].release());
    }
    DeleteRing();
    DeleteFrames();
    m_context.Exit();
    CAM_LOG(kLogDebugging, "CLibUSB_UacCtrl::~CLibUSB_UacCtrl() -\r\n");
}

void CLibUSB_UacCtrl::CloseDevice()
{
    libusb_close(m_device_handle);
    m_device_handle = nullptr;
}

int CLibUSB_UacCtrl::Init(int vid, int pid)
{
    const CameraDevice camera = OpenCameraDevice(m_context, vid, pid);
    if (camera.handle == nullptr)
        return -1;
    m_device_handle = camera.handle;
    m_device = camera.device;

    DetachKernelDriver(m_device_handle, kAudioStreamingInterface);
    int result = libusb_claim_interface(m_device_handle, kAudioStreamingInterface);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioStream) fail!(%d)\n", result);
        CloseDevice();
        return -1;
    }
    CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioStream)  ok!\n");
    SelectSetting(m_context, m_device_handle, kAudioStreamingInterface, kIdleSetting);

    DetachKernelDriver(m_device_handle, kAudioControlInterface);
    result = libusb_claim_interface(m_device_handle, kAudioControlInterface);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioControl)  fail!(%d)\n", result);
        CloseDevice();
        return -1;
    }
    CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioControl) ok!\n");
    return 0;
}
