// User data of one isochronous transfer.
#ifndef TORVIK_AUDIO_TRANSFER_PARAM_H
#define TORVIK_AUDIO_TRANSFER_PARAM_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

#include "audio/uac_transport.h"

struct CLibUSB_UacCtrl::TransferCbParam {
    static constexpr std::size_t kMinBufferSize = 10240;

    TransferCbParam(CLibUSB_UacCtrl* transport, std::uint8_t slot, std::size_t size)
        : owner(transport), index(slot), buffer(new (std::nothrow) unsigned char[size]())
    {
    }
    virtual ~TransferCbParam() { delete[] buffer; }
    TransferCbParam(const TransferCbParam&) = delete;
    TransferCbParam& operator=(const TransferCbParam&) = delete;

    /// Null for a transfer that was given up while in flight.
    std::atomic<CLibUSB_UacCtrl*> owner;
    std::uint8_t index;
    unsigned char* buffer;  ///< null when there was no memory for it
};

#endif
