// Opening and closing of the audio function.

#include "audio/transfer_param.h"
#include "audio/uac_constants.h"
#include "audio/uac_transport.h"
#include "devcmd/usb_identity.h"
#include "runtime/debug_log.h"

namespace {
constexpr int kIsoPackets = 10;
/// The interface that the destructor releases before it closes the device,
/// which gives back the claimed ones.
constexpr int kReleasedInterface = 1;
}  // namespace

CLibUSB_UacCtrl::CLibUSB_UacCtrl() : m_iso_packets(kIsoPackets)
{
    libusb_init(&m_context);
}

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
    if (m_context != nullptr)
        libusb_exit(m_context);
    CAM_LOG(kLogDebugging, "CLibUSB_UacCtrl::~CLibUSB_UacCtrl() -\r\n");
}

void CLibUSB_UacCtrl::CloseDevice()
{
    libusb_close(m_device_handle);
    m_device_handle = nullptr;
}

void CLibUSB_UacCtrl::DetachKernelDriver(int interface)
{
    if (libusb_kernel_driver_active(m_device_handle, interface) == 0)
        return;
    const int result = libusb_detach_kernel_driver(m_device_handle, interface);
    if (result < 0)
        CAM_LOG_AS("Init", kLogDebugging, "libusb_detach_kernel_driver fail!(%d)\n", result);
}

int CLibUSB_UacCtrl::Init(int vid, int pid)
{
    if (m_context != nullptr) {
        m_device_handle = libusb_open_device_with_vid_pid(
            m_context, static_cast<std::uint16_t>(vid), static_cast<std::uint16_t>(pid));
        if (m_device_handle == nullptr) {
            m_device_handle = libusb_open_device_with_vid_pid(m_context, CTRL_FALLBACK_VENDOR_ID,
                                                              CTRL_FALLBACK_PRODUCT_ID);
            if (m_device_handle != nullptr) {
                CAM_LOG(kLogDebugging, "Found an KEL device VID=0x%X, PID=0x%X\r\n",
                        CTRL_FALLBACK_VENDOR_ID, CTRL_FALLBACK_PRODUCT_ID);
            }
        }
    }
    if (m_device_handle == nullptr) {
        CAM_LOG(kLogDebugging, "KEL Camera Device not found\n");
        return -1;
    }

    m_device = libusb_get_device(m_device_handle);
    int configuration = 0;
    if (libusb_get_configuration(m_device_handle, &configuration) < 0) {
        CAM_LOG(kLogDebugging, "libusb_get_configuration Error!\n");
        CloseDevice();
        return -1;
    }

    DetachKernelDriver(kAudioStreamingInterface);
    int result = libusb_claim_interface(m_device_handle, kAudioStreamingInterface);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioStream) fail!(%d)\n", result);
        CloseDevice();
        return -1;
    }
    CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioStream)  ok!\n");
    libusb_set_interface_alt_setting(m_device_handle, kAudioStreamingInterface, kIdleSetting);

    DetachKernelDriver(kAudioControlInterface);
    result = libusb_claim_interface(m_device_handle, kAudioControlInterface);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioControl)  fail!(%d)\n", result);
        CloseDevice();
        return -1;
    }
    CAM_LOG(kLogDebugging, "libusb_claim_interface (AudioControl) ok!\n");
    return 0;
}
