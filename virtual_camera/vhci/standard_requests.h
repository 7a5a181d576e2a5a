// The requests that every USB device answers (USB 2.0, chapter 9).
#ifndef VIRTUAL_CAMERA_VHCI_STANDARD_REQUESTS_H
#define VIRTUAL_CAMERA_VHCI_STANDARD_REQUESTS_H

#include <cstdint>
#include <map>

#include "virtual_camera/usb_device.h"

namespace vcam::vhci
{

/// The default pipe of one plugged-in device: standard requests are answered
/// from its descriptors, all others by itself.
class DefaultPipe
{
public:
    explicit DefaultPipe(UsbDevice& device);

    /// `data` has setup.length bytes.
    TransferResult Serve(const SetupPacket& setup, unsigned char* data, TimeUs now);

private:
    TransferResult Standard(const SetupPacket& setup, unsigned char* data, TimeUs now);
    TransferResult GetDescriptor(const SetupPacket& setup, unsigned char* data) const;
    TransferResult SetConfiguration(std::uint16_t value, TimeUs now);
    TransferResult SetInterface(const SetupPacket& setup, TimeUs now);

    struct Interface {
        unsigned settings = 0;
        unsigned current = 0;
    };

    UsbDevice& m_device;
    std::uint8_t m_configuration = 0;
    std::map<unsigned, Interface> m_interfaces;
};

}  // namespace vcam::vhci

#endif
