#include "virtual_camera/vhci/wire.h"

#include "virtual_camera/default_pipe.h"

namespace vcam::vhci
{
namespace
{

std::uint32_t Load(const std::uint8_t* from)
{
    return std::uint32_t{from[0]} << 24 | std::uint32_t{from[1]} << 16 |
           std::uint32_t{from[2]} << 8 | from[3];
}

void Store(std::uint8_t* to, std::uint32_t value)
{
    for (int i = 0; i < 4; ++i) to[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

}  // namespace

Request DecodeRequest(const Record& record)
{
    const std::uint8_t* at = record.data();
    Request request{};
    request.command = Load(at);
    request.sequence = Load(at + 4);
    const bool in = Load(at + 12) != 0;
    request.address = static_cast<std::uint8_t>((Load(at + 16) & 0x0F) | (in ? 0x80 : 0));
    if (request.command == kUnlink) {
        request.victim = Load(at + 20);
        return request;
    }
    request.flags = Load(at + 20);
    request.length = Load(at + 24);
    // Older kernels say 0, newer ones all ones for "not isochronous".
    const std::uint32_t packets = Load(at + 32);
    request.packets = packets == 0xFFFFFFFFU ? 0 : packets;
    request.setup = DecodeSetup(at + 40);
    return request;
}

Record EncodeAnswer(const Answer& answer)
{
    Record record{};
    Store(&record[0], kSubmitAnswer);
    Store(&record[4], answer.sequence);
    Store(&record[20], static_cast<std::uint32_t>(answer.status));
    Store(&record[24], answer.length);
    Store(&record[32], answer.packets);
    Store(&record[36], answer.bad_packets);
    return record;
}

Record EncodeUnlinkAnswer(std::uint32_t sequence, std::int32_t status)
{
    Record record{};
    Store(&record[0], kUnlinkAnswer);
    Store(&record[4], sequence);
    Store(&record[20], static_cast<std::uint32_t>(status));
    return record;
}

WirePacket DecodePacket(const std::uint8_t* from)
{
    return {Load(from), Load(from + 4), Load(from + 8), static_cast<std::int32_t>(Load(from + 12))};
}

void EncodePacket(const WirePacket& packet, std::uint8_t* to)
{
    Store(to, packet.offset);
    Store(to + 4, packet.length);
    Store(to + 8, packet.actual);
    Store(to + 12, static_cast<std::uint32_t>(packet.status));
}

}  // namespace vcam::vhci
