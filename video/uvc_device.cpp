// Opening and closing of the video function.

#include "devcmd/alternate_setting.h"
#include "devcmd/camera_device.h"
#include "runtime/debug_log.h"
#include "video/transfer_param.h"
#include "video/uvc_constants.h"
#include "video/uvc_transport.h"

CLibUSB_UvcCtrl::CLibUSB_UvcCtrl() = default;

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
    m_context.Exit();
}

void CLibUSB_UvcCtrl::CloseDevice()
{
    libusb_close(m_device_handle);
    m_device_handle = nullptr;
}

int CLibUSB_UvcCtrl::Init(int vid, int pid)
{
    const CameraDevice camera = OpenCameraDevice(m_context, vid, pid);
    if (camera.handle == nullptr)
        return -1;
    m_device_handle = camera.handle;
    m_device = camera.device;
    DetachKernelDriver(m_device_handle, kVideoStreamingInterface);
    DetachKernelDriver(m_device_handle, kVideoControlInterface);

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

    result = SelectIdleSetting();
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_set_interface_alt_setting (VideoStream) fail!(%d)\n",
                result);
    }
    return 0;
}

int CLibUSB_UvcCtrl::SelectIdleSetting()
{
    return SelectSetting(m_context, m_device_handle, kVideoStreamingInterface, 0);
}
