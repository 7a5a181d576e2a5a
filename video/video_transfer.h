// User data of one bulk transfer.
#ifndef TORVIK_VIDEO_VIDEO_TRANSFER_H
#define TORVIK_VIDEO_VIDEO_TRANSFER_H

#include <cstddef>

#include "usb/transfer_slots.h"
#include "video/uvc_transport.h"

struct CLibUSB_UvcCtrl::TransferCbParam : SlottedTransfer {
    /// The transfer's length plus this is allocated.
    static constexpr std::size_t kExtraBytes = 512;

    TransferCbParam(CLibUSB_UvcCtrl& transport, unsigned index)
        : SlottedTransfer(index), owner(transport)
    {
    }

    CLibUSB_UvcCtrl& owner;
};

#endif
