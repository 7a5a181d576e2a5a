#include "virtual_camera/vhci/standard_requests.h"

#include <algorithm>
#include <vector>

#include "virtual_camera/control_answer.h"

namespace vcam::vhci
{
namespace
{

enum : std::uint8_t { kTypeMask = 0x60, kToEndpoint = 0x02, kDescriptorFromDevice = 0x80 };
enum : std::uint8_t {
    kGetStatus = 0,
    kClearFeature = 1,
    kGetDescriptor = 6,
    kGetConfiguration = 8,
    kSetConfiguration = 9,
    kGetInterface = 10,
    kSetInterface = 11,
};
enum : std::uint8_t { kDevice = 1, kConfiguration = 2, kString = 3, kInterface = 4 };
constexpr std::uint8_t kConfigurationValue = 1;

}  // namespace

DefaultPipe::DefaultPipe(UsbDevice& device) : m_device(device)
{
    const std::vector<std::uint8_t> all = device.ConfigurationDescriptor();
    for (std::size_t at = 0; at + 2 <= all.size() && all[at] >= 2; at += all[at])
        if (all[at + 1] == kInterface && at + 4 <= all.size())
            ++m_interfaces[all[at + 2]].settings;
}

TransferResult DefaultPipe::Serve(const SetupPacket& setup, unsigned char* data, TimeUs now)
{
    TransferResult result = (setup.request_type & kTypeMask) == 0
                                ? Standard(setup, data, now)
                                : m_device.Control(setup, data, now);
    result.length = std::min<std::size_t>(result.length, setup.length);
    return result;
}

TransferResult DefaultPipe::Standard(const SetupPacket& setup, unsigned char* data, TimeUs now)
{
    switch (setup.request) {
        case kGetDescriptor:
            return setup.request_type == kDescriptorFromDevice ? GetDescriptor(setup, data)
                                                               : Stall();
        case kGetStatus:
            return Reply(setup, data, {0, 0});
        case kGetConfiguration:
            return Reply(setup, data, {m_configuration});
        case kSetConfiguration:
            return SetConfiguration(setup.value, now);
        case kGetInterface: {
            const auto found = m_interfaces.find(setup.index);
            return found == m_interfaces.end()
                       ? Stall()
                       : Reply(setup, data, {static_cast<std::uint8_t>(found->second.current)});
        }
        case kSetInterface:
            return SetInterface(setup, now);
        case kClearFeature:
            return setup.request_type == kToEndpoint
                       ? m_device.ClearHalt(static_cast<std::uint8_t>(setup.index & 0xFF), now)
                       : Stall();
        default:
            return Stall();
    }
}

TransferResult DefaultPipe::GetDescriptor(const SetupPacket& setup, unsigned char* data) const
{
    const auto index = static_cast<std::uint8_t>(setup.value & 0xFF);
    std::vector<std::uint8_t> bytes;
    switch (setup.value >> 8) {
        case kDevice:
            bytes = m_device.DeviceDescriptor();
            break;
        case kConfiguration:
            if (index == 0)
                bytes = m_device.ConfigurationDescriptor();
            break;
        case kString:
            bytes = m_device.StringDescriptor(index);
            break;
        default:
            break;
    }
    return bytes.empty() ? Stall() : Reply(setup, data, bytes);
}

/// Puts every interface back to its first setting; a host that resets the
/// device says so in no other way.
TransferResult DefaultPipe::SetConfiguration(std::uint16_t value, TimeUs now)
{
    if (value > kConfigurationValue)
        return Stall();
    m_configuration = static_cast<std::uint8_t>(value);
    for (auto& [number, interface] : m_interfaces) {
        interface.current = 0;
        const TransferResult result = m_device.SetAlternateSetting(number, 0, now);
        if (result.status == TransferStatus::kNoDevice)
            return result;
    }
    return Moved(0);
}

TransferResult DefaultPipe::SetInterface(const SetupPacket& setup, TimeUs now)
{
    const auto found = m_interfaces.find(setup.index);
    if (found == m_interfaces.end() || setup.value >= found->second.settings)
        return Stall();
    const TransferResult result = m_device.SetAlternateSetting(found->first, setup.value, now);
    if (result.status == TransferStatus::kCompleted)
        found->second.current = setup.value;
    return result;
}

}  // namespace vcam::vhci
