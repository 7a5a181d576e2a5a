// The records that travel between a kernel's virtual host controller and the
// server of a device: 48 bytes each, numbers with the highest byte first
// (Linux, Documentation/usb/usbip_protocol.rst).
#ifndef VIRTUAL_CAMERA_VHCI_WIRE_H
#define VIRTUAL_CAMERA_VHCI_WIRE_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "virtual_camera/usb_device.h"

namespace vcam::vhci
{

constexpr std::size_t kRecordSize = 48;
constexpr std::size_t kPacketSize = 16;
using Record = std::array<std::uint8_t, kRecordSize>;

enum Command : std::uint32_t {
    kSubmit = 1,
    kUnlink = 2,
    kSubmitAnswer = 3,
    kUnlinkAnswer = 4,
};

/// Of the transfer flags only this one matters to a device.
constexpr std::uint32_t kShortNotOk = 1;

/// A transfer that the kernel hands over, or its wish to have one back.
struct Request {
    std::uint32_t command;
    std::uint32_t sequence;
    std::uint8_t address;   ///< endpoint with direction; of control transfers the direction only
    std::uint32_t flags;    ///< kSubmit
    std::uint32_t length;   ///< kSubmit
    std::uint32_t packets;  ///< kSubmit; 0 for all that is not isochronous
    std::uint32_t victim;   ///< kUnlink: sequence of the transfer
    SetupPacket setup;      ///< control transfers
};

Request DecodeRequest(const Record& record);

struct Answer {
    std::uint32_t sequence;
    std::int32_t status;  ///< 0 or a negative errno
    std::uint32_t length = 0;
    std::uint32_t packets = 0;
    std::uint32_t bad_packets = 0;
};

Record EncodeAnswer(const Answer& answer);
Record EncodeUnlinkAnswer(std::uint32_t sequence, std::int32_t status);

/// One packet of an isochronous transfer, as it follows the record.
struct WirePacket {
    std::uint32_t offset;
    std::uint32_t length;
    std::uint32_t actual;
    std::int32_t status;
};

WirePacket DecodePacket(const std::uint8_t* from);
void EncodePacket(const WirePacket& packet, std::uint8_t* to);

}  // namespace vcam::vhci

#endif
