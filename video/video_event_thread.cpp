#include "video/video_event_thread.h"

#include "runtime/debug_log.h"
#include "runtime/sleep.h"

namespace {
constexpr unsigned long kStartSettleMs = 30;
}

CKEL_CAM_LIB::CKEL_CAM_LIB() : pThread(false, -1) {}

CKEL_CAM_LIB::~CKEL_CAM_LIB()
{
    CAM_LOG(kLogDebugging, "CKEL_CAM_LIB::~CKEL_CAM_LIB()+\r\n");
    CAM_LOG(kLogDebugging, "CKEL_CAM_LIB::~CKEL_CAM_LIB()-\r\n");
    pThread::Stop();
    SetEventThreadRunning(false);
}

void CKEL_CAM_LIB::Run()
{
    while (!StopRequested())
        handle_libusb_event();
    CAM_LOG(kLogDebugging, "CKEL_CAM_LIB::run() Exit libusb thread.\n");
}

int CKEL_CAM_LIB::VideoTransferStart()
{
    m_transfer_state = 0;
    SetEventThreadRunning(true);
    if (pThread::Start(nullptr) != 0)
        SetEventThreadRunning(false);
    // The caller may count on the loop.
    SleepMilliseconds(kStartSettleMs);
    return 0;
}

int CKEL_CAM_LIB::VideoTransferStop()
{
    CAM_LOG(kLogDebugging, "pthread_cancel+\n");
    pThread::Stop();
    SetEventThreadRunning(false);
    CAM_LOG(kLogDebugging, "pthread_cancel-\n");
    return 0;
}

int CKEL_CAM_LIB::EnableStream(int formatId, int frameId, int fps)
{
    const int result = UVC_EnableVideoStream(formatId, frameId, fps);
    if (result >= 0)
        VideoTransferStart();
    return result;
}

int CKEL_CAM_LIB::DisableStream()
{
    if (IsStreaming()) {
        CAM_LOG(kLogDebugging, "UVC_DisableVideoStream +\r\n");
        UVC_DisableVideoStream();
        CAM_LOG(kLogDebugging, "UVC_DisableVideoStream -\r\n");
        CAM_LOG(kLogDebugging, "VideoTransferStop +\r\n");
        VideoTransferStop();
        CAM_LOG(kLogDebugging, "VideoTransferStop -\r\n");
    }
    if (DeviceHandle() != nullptr)
        SelectIdleSetting();
    return 0;
}
