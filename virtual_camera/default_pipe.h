// The requests that every USB device answers (USB 2.0, chapter 9), for all
// carriers.
#ifndef VIRTUAL_CAMERA_DEFAULT_PIPE_H
#define VIRTUAL_CAMERA_DEFAULT_PIPE_H

#include <cstddef>
#include <cstdint>
#include <map>

#include "virtual_camera/usb_device.h"

namespace vcam
{

/// A setup stage from its eight bytes (USB 2.0, 9.3).
SetupPacket DecodeSetup(const std::uint8_t* bytes);

/// The default pipe of a device for one stay on the bus: standard requests are
/// answered from its descriptors, all others by the device itself. Keeps which
/// configuration and alternate settings the host has selected.
class DefaultPipe
{
public:
    enum class Host { kConfiguresTheDevice, kHasConfiguredIt };

    DefaultPipe(UsbDevice& device, Host host);

    /// Any control request. `data` has setup.length bytes.
    TransferResult Serve(const SetupPacket& setup, unsigned char* data, TimeUs now);

    /// Of the configuration, 0 before the host has selected it.
    std::uint8_t Configuration() const { return m_configuration; }
    /// How many alternate settings the interface has, 0 when there is none.
    unsigned SettingsOf(unsigned interface) const;
    unsigned CurrentSetting(unsigned interface) const;
    /// Tells the device. A stall when there is no such setting.
    TransferResult SelectSetting(unsigned interface, unsigned setting, TimeUs now);

private:
    struct Interface {
        unsigned settings = 0;
        unsigned current = 0;
    };

    TransferResult Standard(const SetupPacket& setup, unsigned char* data, TimeUs now);
    TransferResult GetDescriptor(const SetupPacket& setup, unsigned char* data) const;
    TransferResult SetConfiguration(unsigned value, TimeUs now);

    UsbDevice& m_device;
    std::uint8_t m_value = 0;  ///< bConfigurationValue
    std::uint8_t m_configuration = 0;
    std::map<unsigned, Interface> m_interfaces;
};

}  // namespace vcam

#endif
