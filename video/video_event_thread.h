// The video transport with its event thread.
#ifndef TORVIK_VIDEO_VIDEO_EVENT_THREAD_H
#define TORVIK_VIDEO_VIDEO_EVENT_THREAD_H

#include "runtime/thread.h"
#include "video/uvc_transport.h"

class CKEL_CAM_LIB : public CLibUSB_UvcCtrl, public pThread
{
public:
    CKEL_CAM_LIB();
    ~CKEL_CAM_LIB() override;

    /// Starts the stream and, when that succeeded, the event thread. The result
    /// of UVC_EnableVideoStream.
    int EnableStream(int formatId, int frameId, int fps);
    /// Stops stream and thread, if they run, and leaves the interface idle. 0.
    int DisableStream();
    int VideoTransferStart();
    int VideoTransferStop();
    /// Event loop; ends on a stop request.
    void Run() override;
    void EnableTest() { m_test = 1; }

private:
    // The owner's.
    std::uint32_t m_transfer_state = 0;
    std::uint32_t m_test = 0;
};

#endif
