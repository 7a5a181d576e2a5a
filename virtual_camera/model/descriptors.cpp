#include "virtual_camera/model/descriptors.h"

#include <string>

#include "virtual_camera/model/topology.h"

namespace vcam {
namespace {

enum : std::uint8_t { kVendorClass = 0xFF };

struct Configuration {
    std::uint8_t interfaces = 0;
    Bytes body;
};

Configuration CameraBody()
{
    Configuration configuration{5, MakeVideoFunction()};
    Append(configuration.body, MakeAudioFunction());
    Append(configuration.body, MakeFlashInterface(kFlashInterface));
    return configuration;
}

/// The bulk interface must be number 2, so two empty ones come before it.
Configuration BulkLoaderBody()
{
    Configuration configuration{3, InterfaceDescriptor(0, 0, 0, kVendorClass, 0)};
    Append(configuration.body, InterfaceDescriptor(1, 0, 0, kVendorClass, 0));
    Append(configuration.body, MakeFlashInterface(kBootInterface));
    return configuration;
}

}  // namespace

Bytes InterfaceDescriptor(std::uint8_t number, std::uint8_t setting, std::uint8_t endpoints,
                          std::uint8_t device_class, std::uint8_t subclass)
{
    return {9, 0x04, number, setting, endpoints, device_class, subclass, 0, 0};
}

Bytes AssociationDescriptor(std::uint8_t first, std::uint8_t count, std::uint8_t function_class,
                            std::uint8_t subclass)
{
    return {8, 0x0B, first, count, function_class, subclass, 0, 0};
}

Bytes BulkEndpointDescriptor(std::uint8_t address)
{
    Bytes endpoint{7, 0x05, address, 0x02};
    Append(endpoint, 512, 2);
    endpoint.push_back(0);
    return endpoint;
}

Bytes MakeFlashInterface(std::uint8_t number)
{
    Bytes flash = InterfaceDescriptor(number, 0, 1, kVendorClass, 0);
    Append(flash, BulkEndpointDescriptor(kFlashEndpoint));
    return flash;
}

Bytes MakeDeviceDescriptor(const CameraOptions& options, Identity identity)
{
    Bytes device{18, 0x01};
    Append(device, 0x0200, 2);
    if (identity == Identity::kCamera)
        Append(device, Bytes{0xEF, 0x02, 0x01});  // functions grouped by associations
    else
        Append(device, Bytes{0x00, 0x00, 0x00});
    device.push_back(64);
    Append(device, options.vendor_id, 2);
    Append(device, identity == Identity::kCamera ? options.product_id : options.boot_product_id, 2);
    Append(device, 0x0138, 2);
    Append(device, Bytes{1, 2, 3, 1});
    return device;
}

Bytes MakeConfigurationDescriptor(Identity identity)
{
    Configuration configuration;
    switch (identity) {
        case Identity::kCamera:
            configuration = CameraBody();
            break;
        case Identity::kBootLoaderBulk:
            configuration = BulkLoaderBody();
            break;
        case Identity::kBootLoaderUvc:
            configuration = {1, MakeBootVideoControl()};
            break;
    }
    Bytes whole{9, 0x02};
    Append(whole, 9 + configuration.body.size(), 2);
    Append(whole, Bytes{configuration.interfaces, 1, 0, 0x80, 250});
    Append(whole, configuration.body);
    return whole;
}

Bytes MakeStringDescriptor(Identity identity, std::uint8_t index)
{
    std::string text;
    switch (index) {
        case 0:
            return {4, 0x03, 0x09, 0x04};
        case 1:
            text = "Torvik";
            break;
        case 2:
            text = identity == Identity::kCamera ? "Virtual Camera" : "Virtual Camera Boot Loader";
            break;
        case 3:
            text = "VC000001";
            break;
        default:
            return {};
    }
    Bytes descriptor{static_cast<std::uint8_t>(2 + 2 * text.size()), 0x03};
    for (const char letter : text) Append(descriptor, static_cast<std::uint8_t>(letter), 2);
    return descriptor;
}

}  // namespace vcam
