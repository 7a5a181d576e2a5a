#include "virtual_camera/default_pipe.h"

#include <algorithm>
#include <vector>

#include "virtual_camera/control_answer.h"

namespace vcam
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

}  // namespace

SetupPacket DecodeSetup(const std::uint8_t* bytes)
{
    const auto word = [bytes](int at) {
        return static_cast<std::uint16_t>(bytes[at] | (bytes[at + 1] << 8));
    };
    return {bytes[0], bytes[1], word(2), word(4), word(6)};
}

DefaultPipe::DefaultPipe(UsbDevice& device, Host host) : m_device(device)
{
    const std::vector<std::uint8_t> all = device.ConfigurationDescriptor();
    if (all.size() > 5)
        m_value = all[5];
    if (host == Host::kHasConfiguredIt)
        m_configuration = m_value;
    for (std::size_t at = 0; at + 2 <= all.size() && all[at] >= 2; at += all[at])
        if (all[at + 1] == kInterface && at + 4 <= all.size())
            ++m_interfaces[all[at + 2]].settings;
}

unsigned DefaultPipe::SettingsOf(unsigned interface) const
{
    const auto found = m_interfaces.find(interface);
    return found == m_interfaces.end() ? 0 : found->second.settings;
}

unsigned DefaultPipe::CurrentSetting(unsigned interface) const
{
    const auto found = m_interfaces.find(interface);
    return found == m_interfaces.end() ? 0 : found->second.current;
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
        case kGetInterface:
            return SettingsOf(setup.index) == 0
                       ? Stall()
                       : Reply(setup, data,
                               {static_cast<std::uint8_t>(CurrentSetting(setup.index))});
        case kSetInterface:
            return SelectSetting(setup.index, setup.value, now);
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
TransferResult DefaultPipe::SetConfiguration(unsigned value, TimeUs now)
{
    if (value != 0 && value != m_value)
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

TransferResult DefaultPipe::SelectSetting(unsigned interface, unsigned setting, TimeUs now)
{
    if (setting >= SettingsOf(interface))
        return Stall();
    const TransferResult result = m_device.SetAlternateSetting(interface, setting, now);
    if (result.status == TransferStatus::kCompleted)
        m_interfaces[interface].current = setting;
    return result;
}

}  // namespace vcam
