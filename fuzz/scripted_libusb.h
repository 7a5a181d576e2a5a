// A libusb whose every answer comes from the fuzzer's bytes. One thread; no
// time passes; one completion per event pass.
#ifndef FUZZ_SCRIPTED_LIBUSB_H
#define FUZZ_SCRIPTED_LIBUSB_H

#include <cstddef>
#include <cstdint>
#include <libusb.h>
#include <vector>

#include "fuzz/bytes.h"

namespace fuzz {

/// Where answers come from until the next call; null answers with success.
void UseScript(Bytes* script);

/// Transfers submitted and not completed.
std::size_t Submitted();

/// Blocks that went out through libusb_bulk_transfer, back to back.
std::vector<std::uint8_t>& BulkOut();

/// One control request that the library made.
struct Request {
    std::uint8_t type;
    std::uint8_t request;
    std::uint16_t value;
    std::uint16_t index;
    std::vector<std::uint8_t> data;
};
/// Kept only when asked for.
void KeepRequests(bool keep);
std::vector<Request>& Requests();

/// A handle for code that brings no transport.
libusb_device_handle* OpenHandle();

}  // namespace fuzz

#endif
