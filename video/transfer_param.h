// User data of one bulk transfer.
#ifndef TORVIK_VIDEO_TRANSFER_PARAM_H
#define TORVIK_VIDEO_TRANSFER_PARAM_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

#include "video/uvc_transport.h"

struct CLibUSB_UvcCtrl::TransferCbParam {
    /// The transfer's length plus this is allocated.
    static constexpr std::size_t kExtraBytes = 512;

    TransferCbParam(CLibUSB_UvcCtrl* transport, std::uint8_t slot, std::size_t payload_size)
        : owner(transport),
          index(slot),
          payload(new (std::nothrow) unsigned char[payload_size + kExtraBytes])
    {
    }
    virtual ~TransferCbParam() { delete[] payload; }
    TransferCbParam(const TransferCbParam&) = delete;
    TransferCbParam& operator=(const TransferCbParam&) = delete;

    /// Null for a transfer that was given up while in flight.
    std::atomic<CLibUSB_UvcCtrl*> owner;
    std::uint8_t index;
    unsigned char* payload;  ///< null when there was no memory for it
    std::uint32_t reserved = 0;
};

#endif
