// One plugged-in device: the transfers that the kernel handed over and its
// answers to them.
#ifndef VIRTUAL_CAMERA_VHCI_LINK_H
#define VIRTUAL_CAMERA_VHCI_LINK_H

#include <cstdint>
#include <deque>
#include <map>
#include <vector>

#include "virtual_camera/default_pipe.h"
#include "virtual_camera/vhci/port.h"
#include "virtual_camera/vhci/wire.h"

namespace vcam::vhci
{

class Link
{
public:
    /// `device` outlives the link.
    Link(File wire, UsbDevice& device);

    int Descriptor() const { return m_wire.Get(); }
    /// Takes everything in that lies on the wire. False when the kernel hung up.
    bool Receive(TimeUs now);
    /// Lets the device answer what it can, in the order of each endpoint. The
    /// result is the moment when it may have more to say.
    TimeUs Serve(TimeUs now);

private:
    struct Transfer {
        Request request;
        std::vector<std::uint8_t> data;  ///< what the host sends; control: room for both ways
        std::vector<WirePacket> packets;
        bool stuck = false;  ///< never answered, until the host takes it back
    };

    bool Take(void* to, std::size_t size) const;
    bool TakeOne(TimeUs now);
    bool TakeTransfer(const Request& request);
    void Unlink(const Request& request, TimeUs now);

    /// One attempt; its answer is sent unless the device is not ready.
    TransferResult Attempt(Transfer& transfer, TimeUs now);
    TransferResult AskDevice(Transfer& transfer, TimeUs now);
    TransferResult AskIsochronous(Transfer& transfer, TimeUs now);
    void Reply(const Transfer& transfer, const TransferResult& result);
    void Send(const std::vector<std::uint8_t>& bytes);

    File m_wire;
    UsbDevice& m_device;
    DefaultPipe m_default_pipe;
    /// By endpoint; control transfers of both directions share one queue.
    std::map<std::uint8_t, std::deque<Transfer>> m_queues;
    std::vector<std::uint8_t> m_received;  ///< scratch: what the device gives
    /// When the bus has carried the last isochronous transfer of an endpoint.
    std::map<std::uint8_t, TimeUs> m_bus_free_at;
    bool m_broken = false;
};

}  // namespace vcam::vhci

#endif
