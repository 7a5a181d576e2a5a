// User data of one isochronous transfer.
#ifndef TORVIK_AUDIO_AUDIO_TRANSFER_H
#define TORVIK_AUDIO_AUDIO_TRANSFER_H

#include <cstddef>

#include "audio/uac_transport.h"
#include "usb/transfer_slots.h"

struct CLibUSB_UacCtrl::TransferCbParam : SlottedTransfer {
    /// The buffer is larger when the device's packets are.
    static constexpr std::size_t kMinBufferSize = 10240;

    TransferCbParam(CLibUSB_UacCtrl& transport, unsigned index)
        : SlottedTransfer(index), owner(transport)
    {
    }

    CLibUSB_UacCtrl& owner;
};

#endif
