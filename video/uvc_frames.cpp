// The reader's side of the video stream.

#include "video/uvc_transport.h"

int CLibUSB_UvcCtrl::DequeFrameBuf(unsigned char** data, unsigned int* size)
{
    *data = nullptr;
    *size = 0;
    if (m_frame_queue == nullptr)
        return 0;
    const int lent = m_frame_queue->Lend(data, size);
    if (lent == 0)
        WakeForParked();
    return lent;
}

int CLibUSB_UvcCtrl::QueueFrameBuf()
{
    if (m_frame_queue == nullptr)
        return 0;
    m_frame_queue->Release();
    WakeForParked();
    return 0;
}

unsigned int CLibUSB_UvcCtrl::ReadFrame(unsigned char* dst, unsigned int maxLength)
{
    if (m_frame_queue == nullptr)
        return 0;
    const unsigned copied = m_frame_queue->CopyOut(dst, maxLength);
    WakeForParked();
    return copied;
}
