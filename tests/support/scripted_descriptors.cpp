// Descriptors of the scripted device: interfaces and endpoints, without the
// class-specific parts that a driver which knows its camera does not read.
#include <initializer_list>

#include "tests/support/scripted_device.h"

namespace test_support {
namespace {

void Append(Bytes& bytes, std::initializer_list<int> values)
{
    for (const int value : values)
        bytes.push_back(static_cast<std::uint8_t>(value));
}

void AppendInterface(Bytes& bytes, int number, int setting, int endpoints, int device_class,
                     int subclass)
{
    Append(bytes, {9, 4, number, setting, endpoints, device_class, subclass, 0, 0});
}

void AppendEndpoint(Bytes& bytes, int address, int attributes, int max_packet)
{
    Append(bytes, {7, 5, address, attributes, max_packet & 0xFF, max_packet >> 8, 1});
}

}  // namespace

Bytes ConfigurationOf(Layout layout)
{
    constexpr int kBulk = 2;
    constexpr int kIsochronous = 5;
    Bytes bytes;
    int interfaces = 0;
    Append(bytes, {9, 2, 0, 0, 0, 1, 0, 0x80, 250});
    AppendInterface(bytes, 0, 0, 0, 14, 1);
    switch (layout) {
    case Layout::kCamera:
        AppendInterface(bytes, 1, 0, 1, 14, 2);
        AppendEndpoint(bytes, 0x81, kBulk, 512);
        AppendInterface(bytes, 2, 0, 0, 1, 1);
        AppendInterface(bytes, 3, 0, 0, 1, 2);
        AppendInterface(bytes, 3, 1, 1, 1, 2);
        AppendEndpoint(bytes, 0x82, kIsochronous, 192);
        AppendInterface(bytes, 4, 0, 1, 255, 0);
        AppendEndpoint(bytes, 0x01, kBulk, 512);
        interfaces = 5;
        break;
    case Layout::kBootLoader:
        AppendInterface(bytes, 2, 0, 1, 255, 0);
        AppendEndpoint(bytes, 0x01, kBulk, 512);
        interfaces = 2;
        break;
    case Layout::kBootLoaderUvc:
        interfaces = 1;
        break;
    }
    bytes[2] = static_cast<std::uint8_t>(bytes.size() & 0xFF);
    bytes[3] = static_cast<std::uint8_t>(bytes.size() >> 8);
    bytes[4] = static_cast<std::uint8_t>(interfaces);
    return bytes;
}

Bytes ScriptedDevice::DeviceDescriptor() const
{
    Bytes bytes;
    Append(bytes, {18, 1, 0x00, 0x02, 0xEF, 2, 1, 64, m_vendor_id & 0xFF, m_vendor_id >> 8,
                   m_product_id & 0xFF, m_product_id >> 8, 0x00, 0x01, 1, 2, 0, 1});
    return bytes;
}

Bytes ScriptedDevice::ConfigurationDescriptor() const
{
    return ConfigurationOf(m_layout);
}

Bytes ScriptedDevice::StringDescriptor(std::uint8_t index) const
{
    switch (index) {
    case 0:
        return {4, 3, 0x09, 0x04};
    case 1:
        return {8, 3, 'T', 0, 'e', 0, 's', 0};
    case 2:
        return {8, 3, 'C', 0, 'a', 0, 'm', 0};
    default:
        return {};
    }
}

}  // namespace test_support
