// Opening and closing of the audio function.

#include "audio/uac_constants.h"
#include "audio/uac_transport.h"
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
    if (m_device.IsOpen()) {
        // A stream that nobody stopped: closing the device under its transfers
        // would leave them without a completion.
        m_streaming = false;
        if (m_transfers.AnyInFlight())
            CancelTransfers();
        PumpCancellations();
        m_device.Release(kReleasedInterface);
        m_device.Close();
    }
    m_transfers.Abandon();
    DeleteRing();
    DeleteFrames();
    m_context.Exit();
    CAM_LOG(kLogDebugging, "CLibUSB_UacCtrl::~CLibUSB_UacCtrl() -\r\n");
}

int CLibUSB_UacCtrl::Init(int vid, int pid)
{
    if (!m_device.Open(vid, pid))
        return -1;

    m_device.DetachKernelDriver(kAudioStreamingInterface);
    int result = m_device.Claim(kAudioStreamingInterface);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioStream) fail!(%d)\n", result);
        m_device.Close();
        return -1;
    }
    CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioStream)  ok!\n");
    m_device.SelectSetting(kAudioStreamingInterface, kIdleSetting);

    m_device.DetachKernelDriver(kAudioControlInterface);
    result = m_device.Claim(kAudioControlInterface);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioControl)  fail!(%d)\n", result);
        m_device.Close();
        return -1;
    }
    CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioControl) ok!\n");
    return 0;
}
