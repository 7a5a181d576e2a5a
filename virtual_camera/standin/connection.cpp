#include "virtual_camera/standin/objects.h"

namespace vcam::standin {
namespace {

constexpr std::uint8_t kInterfaceDescriptor = 4;
constexpr std::uint8_t kEndpointDescriptor = 5;

void ReadConfiguration(Connection& connection, bool kernel_drivers)
{
    const std::vector<std::uint8_t>& bytes = connection.config_descriptor;
    unsigned number = 0;
    unsigned setting = 0;
    for (std::size_t at = 0; at + 2 <= bytes.size();) {
        const std::size_t length = bytes[at];
        if (length < 2 || length > bytes.size() - at)
            break;
        if (bytes[at + 1] == kInterfaceDescriptor && length >= 9) {
            number = bytes[at + 2];
            setting = bytes[at + 3];
            if (!connection.FindInterface(bytes[at + 2]))
                connection.interfaces.push_back({number, kernel_drivers});
        } else if (bytes[at + 1] == kEndpointDescriptor && length >= 7) {
            const auto max_packet =
                static_cast<std::uint16_t>(bytes[at + 4] | (bytes[at + 5] << 8));
            connection.endpoints.push_back(
                {bytes[at + 2], bytes[at + 3], max_packet, number, setting});
        }
        at += length;
    }
}

}  // namespace

Interface* Connection::FindInterface(int number)
{
    for (Interface& candidate : interfaces)
        if (static_cast<int>(candidate.number) == number)
            return &candidate;
    return nullptr;
}

const Endpoint* Connection::FindEndpoint(std::uint8_t endpoint_address) const
{
    for (const Endpoint& endpoint : endpoints)
        if (endpoint.address == endpoint_address)
            return &endpoint;
    return nullptr;
}

const Endpoint* Connection::FindActiveEndpoint(std::uint8_t endpoint_address) const
{
    for (const Endpoint& endpoint : endpoints) {
        if (endpoint.address == endpoint_address &&
            endpoint.setting == default_pipe->CurrentSetting(endpoint.interface_number))
            return &endpoint;
    }
    return nullptr;
}

std::shared_ptr<Connection> Connect(const std::shared_ptr<UsbDevice>& device, std::uint8_t address,
                                    bool kernel_drivers)
{
    auto connection = std::make_shared<Connection>();
    connection->device = device;
    connection->address = address;
    connection->device_descriptor = device->DeviceDescriptor();
    connection->device_descriptor.resize(18);
    connection->config_descriptor = device->ConfigurationDescriptor();
    connection->default_pipe.emplace(*device, DefaultPipe::Host::kHasConfiguredIt);
    ReadConfiguration(*connection, kernel_drivers);
    return connection;
}

}  // namespace vcam::standin
