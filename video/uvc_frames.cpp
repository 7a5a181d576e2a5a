// The reader's side of the video stream.

#include "video/uvc_transport.h"

int CLibUSB_UvcCtrl::DequeFrameBuf(unsigned char** data, unsigned int* size)
{
    *data = nullptr;
    *size = 0;
    if (RingInUse() == nullptr)
        return 0;
    const int lent = RingInUse()->Lend(data, size);
    if (lent == 0)
        WakeForParked();
    return lent;
}

int CLibUSB_UvcCtrl::QueueFrameBuf()
{
    if (RingInUse() == nullptr)
        return 0;
    RingInUse()->Release();
    WakeForParked();
    return 0;
}

unsigned int CLibUSB_UvcCtrl::ReadFrame(unsigned char* dst, unsigned int maxLength)
{
    if (RingInUse() == nullptr)
        return 0;
    const unsigned copied = RingInUse()->CopyOut(dst, maxLength);
    WakeForParked();
    return copied;
}
