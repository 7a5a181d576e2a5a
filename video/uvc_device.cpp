// Opening and closing of the video function.

#include <initializer_list>

#include "devcmd/usb_identity.h"
#include "runtime/debug_log.h"
#include "video/transfer_param.h"
#include "video/uvc_constants.h"
#include "video/uvc_transport.h"

CLibUSB_UvcCtrl::CLibUSB_UvcCtrl()
{
    libusb_init(&m_context);
}

CLibUSB_UvcCtrl::~CLibUSB_UvcCtrl()
{
    CAM_LOG(kLogDebugging, "LibUSB_UvcCtrl::~CLibUSB_UvcCtrl()\r\n");
    if (m_device_handle != nullptr) {
        PumpCancellations();
        libusb_release_interface(m_device_handle, kVideoStreamingInterface);
        libusb_release_interface(m_device_handle, kVideoControlInterface);
        CloseDevice();
    }
    for (unsigned i = 0; i < kTransfers; ++i) {
        if (m_transfers[i] == nullptr)
            continue;
        if (m_in_flight[i]) {
            // Its completion never came. Freeing it now would let libusb write
            // into freed memory, so it stays allocated.
            static_cast<TransferCbParam*>(m_transfers[i]->user_data)->owner = nullptr;
            continue;
        }
        CAM_LOG(kLogDebugging, "CLibUSB_UvcCtrl free transfer \r\n");
        delete static_cast<TransferCbParam*>(m_transfers[i]->user_data);
        libusb_free_transfer(m_transfers[i]);
    }
    m_write_locker.reset();
    delete m_frame_queue;
    DeleteFrames();
    if (m_context != nullptr)
        libusb_exit(m_context);
}

void CLibUSB_UvcCtrl::CloseDevice()
{
    libusb_close(m_device_handle);
    m_device_handle = nullptr;
}

int CLibUSB_UvcCtrl::Init(int vid, int pid)
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

    for (const int interface : {kVideoStreamingInterface, kVideoControlInterface}) {
        if (libusb_kernel_driver_active(m_device_handle, interface) == 0)
            continue;
        const int result = libusb_detach_kernel_driver(m_device_handle, interface);
        if (result < 0)
            CAM_LOG(kLogDebugging, "libusb_detach_kernel_driver fail!(%d)\n", result);
    }

    int result = libusb_claim_interface(m_device_handle, kVideoStreamingInterface);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_claim_interface (VideoStreaming) fail!(%d)\n", result);
        CloseDevice();
        return -1;
    }
    CAM_LOG(kLogDebugging, "libusb_claim_interface (VideoStreaming) ok!\n");

    result = libusb_claim_interface(m_device_handle, kVideoControlInterface);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_claim_interface (VideoControl) fail!(%d)\n", result);
        libusb_release_interface(m_device_handle, kVideoStreamingInterface);
        CloseDevice();
        return -1;
    }
    CAM_LOG(kLogDebugging, "libusb_claim_interface (VideoControl) ok!\n");

    result = libusb_set_interface_alt_setting(m_device_handle, kVideoStreamingInterface, 0);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_set_interface_alt_setting (VideoStream) fail!(%d)\n",
                result);
    }
    return 0;
}
