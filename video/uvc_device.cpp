// Opening and closing of the video function.

#include "runtime/debug_log.h"
#include "video/uvc_constants.h"
#include "video/uvc_transport.h"

CLibUSB_UvcCtrl::CLibUSB_UvcCtrl() = default;

CLibUSB_UvcCtrl::~CLibUSB_UvcCtrl()
{
    CAM_LOG(kLogDebugging, "LibUSB_UvcCtrl::~CLibUSB_UvcCtrl()\r\n");
    if (m_device.IsOpen()) {
        PumpCancellations();
        m_device.Release(kVideoStreamingInterface);
        m_device.Release(kVideoControlInterface);
        m_device.Close();
    }
    for (unsigned i = 0; i < kTransfers; ++i) {
        if (!m_transfers.IsIdle(i))
            continue;
        CAM_LOG(kLogDebugging, "CLibUSB_UvcCtrl free transfer \r\n");
        m_transfers.Free(i);
    }
    m_transfers.Abandon();
    m_assembler.End();
    delete m_frame_queue;
    DeleteFrames();
    m_context.Exit();
}

int CLibUSB_UvcCtrl::Init(int vid, int pid)
{
    if (!m_device.Open(vid, pid))
        return -1;
    m_device.DetachKernelDriver(kVideoStreamingInterface);
    m_device.DetachKernelDriver(kVideoControlInterface);

    int result = m_device.Claim(kVideoStreamingInterface);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_claim_interface (VideoStreaming) fail!(%d)\n", result);
        m_device.Close();
        return -1;
    }
    CAM_LOG(kLogDebugging, "libusb_claim_interface (VideoStreaming) ok!\n");

    result = m_device.Claim(kVideoControlInterface);
    if (result < 0) {
        CAM_LOG(kLogDebugging, "libusb_claim_interface (VideoControl) fail!(%d)\n", result);
        m_device.Release(kVideoStreamingInterface);
        m_device.Close();
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
    return m_device.SelectSetting(kVideoStreamingInterface, 0);
}
