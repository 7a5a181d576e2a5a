// Configuration descriptors in libusb's form, and strings.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "virtual_camera/standin/core.h"

using namespace vcam;
using namespace vcam::standin;

namespace {

/// Everything under a libusb_config_descriptor; it is the first member, so that
/// the caller's pointer leads back to the whole.
struct ConfigTree {
    libusb_config_descriptor config{};
    std::vector<std::uint8_t> bytes;
    std::vector<libusb_interface> interfaces;
    std::vector<std::vector<libusb_interface_descriptor>> settings;
    /// By interface, then by setting.
    std::vector<std::vector<std::vector<libusb_endpoint_descriptor>>> endpoints;
};

void AppendExtra(const unsigned char*& extra, int& length, const std::uint8_t* bytes,
                 std::size_t count)
{
    // Class-specific descriptors follow the one they belong to without a gap.
    if (!extra)
        extra = bytes;
    if (extra + length == bytes)
        length += static_cast<int>(count);
}

std::size_t InterfaceIndex(ConfigTree& tree, std::uint8_t number)
{
    for (std::size_t i = 0; i < tree.settings.size(); ++i)
        if (tree.settings[i].front().bInterfaceNumber == number)
            return i;
    tree.settings.emplace_back();
    tree.endpoints.emplace_back();
    return tree.settings.size() - 1;
}

void AddInterface(ConfigTree& tree, const std::uint8_t* at, std::size_t index)
{
    libusb_interface_descriptor setting{};
    std::memcpy(&setting, at, 9);
    setting.bNumEndpoints = 0;  // counted as they are found
    tree.settings[index].push_back(setting);
    tree.endpoints[index].emplace_back();
}

void AddEndpoint(std::vector<libusb_endpoint_descriptor>& list, const std::uint8_t* at,
                 std::size_t length)
{
    libusb_endpoint_descriptor endpoint{};
    endpoint.bLength = at[0];
    endpoint.bDescriptorType = at[1];
    endpoint.bEndpointAddress = at[2];
    endpoint.bmAttributes = at[3];
    endpoint.wMaxPacketSize = static_cast<std::uint16_t>(at[4] | (at[5] << 8));
    endpoint.bInterval = at[6];
    if (length >= 9) {
        endpoint.bRefresh = at[7];
        endpoint.bSynchAddress = at[8];
    }
    list.push_back(endpoint);
}

void ParseTree(ConfigTree& tree)
{
    const std::uint8_t* const bytes = tree.bytes.data();
    std::size_t current = tree.bytes.size();  // no interface yet
    for (std::size_t at = 0; at + 2 <= tree.bytes.size();) {
        const std::size_t length = bytes[at];
        if (length < 2 || length > tree.bytes.size() - at)
            break;
        const bool inside = current < tree.settings.size();
        if (bytes[at + 1] == LIBUSB_DT_INTERFACE && length >= LIBUSB_DT_INTERFACE_SIZE) {
            current = InterfaceIndex(tree, bytes[at + 2]);
            AddInterface(tree, bytes + at, current);
        } else if (bytes[at + 1] == LIBUSB_DT_ENDPOINT && length >= LIBUSB_DT_ENDPOINT_SIZE &&
                   inside) {
            AddEndpoint(tree.endpoints[current].back(), bytes + at, length);
        } else if (inside && !tree.endpoints[current].back().empty()) {
            auto& endpoint = tree.endpoints[current].back().back();
            AppendExtra(endpoint.extra, endpoint.extra_length, bytes + at, length);
        } else if (inside) {
            auto& setting = tree.settings[current].back();
            AppendExtra(setting.extra, setting.extra_length, bytes + at, length);
        } else if (at > 0) {
            AppendExtra(tree.config.extra, tree.config.extra_length, bytes + at, length);
        }
        at += length;
    }
}

libusb_config_descriptor* BuildConfig(std::vector<std::uint8_t> bytes)
{
    auto* const tree = new ConfigTree;
    tree->bytes = std::move(bytes);
    ParseTree(*tree);
    for (std::size_t i = 0; i < tree->settings.size(); ++i) {
        for (std::size_t k = 0; k < tree->settings[i].size(); ++k) {
            const auto& endpoints = tree->endpoints[i][k];
            tree->settings[i][k].bNumEndpoints = static_cast<std::uint8_t>(endpoints.size());
            tree->settings[i][k].endpoint = endpoints.empty() ? nullptr : endpoints.data();
        }
        tree->interfaces.push_back(
            {tree->settings[i].data(), static_cast<int>(tree->settings[i].size())});
    }
    libusb_config_descriptor& config = tree->config;
    const std::vector<std::uint8_t>& raw = tree->bytes;
    config.bLength = raw[0];
    config.bDescriptorType = raw[1];
    config.wTotalLength = static_cast<std::uint16_t>(raw[2] | (raw[3] << 8));
    config.bNumInterfaces = static_cast<std::uint8_t>(tree->interfaces.size());
    config.bConfigurationValue = raw[5];
    config.iConfiguration = raw[6];
    config.bmAttributes = raw[7];
    config.MaxPower = raw[8];
    config.interface = tree->interfaces.data();
    return &config;
}

int GetConfig(Function function, libusb_device* device, int value, bool exists,
              libusb_config_descriptor** out)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), function);
    if (scope.Begin([value](Call& call) { call.value = value; }))
        return scope.End(scope.Failure());
    int result = LIBUSB_ERROR_NOT_FOUND;
    Lock lock(core.Mutex());
    const std::vector<std::uint8_t>& bytes = device->connection->config_descriptor;
    if (exists && bytes.size() >= LIBUSB_DT_CONFIG_SIZE) {
        *out = BuildConfig(bytes);
        ++core.config_descriptors;
        result = LIBUSB_SUCCESS;
    }
    lock.unlock();
    return scope.End(result);
}

}  // namespace

extern "C" {

int LIBUSB_CALL libusb_get_active_config_descriptor(libusb_device* device,
                                                    libusb_config_descriptor** config)
{
    return GetConfig(Function::k_get_active_config_descriptor, device, 0, true, config);
}

int LIBUSB_CALL libusb_get_config_descriptor(libusb_device* device, std::uint8_t index,
                                             libusb_config_descriptor** config)
{
    return GetConfig(Function::k_get_config_descriptor, device, index, index == 0, config);
}

int LIBUSB_CALL libusb_get_config_descriptor_by_value(libusb_device* device, std::uint8_t value,
                                                      libusb_config_descriptor** config)
{
    const std::vector<std::uint8_t>& bytes = device->connection->config_descriptor;
    const bool exists = bytes.size() > 5 && bytes[5] == value;
    return GetConfig(Function::k_get_config_descriptor_by_value, device, value, exists, config);
}

void LIBUSB_CALL libusb_free_config_descriptor(libusb_config_descriptor* config)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_free_config_descriptor);
    scope.Begin([](Call&) {});
    if (config) {
        Lock lock(core.Mutex());
        --core.config_descriptors;
        delete reinterpret_cast<ConfigTree*>(config);
    }
    scope.End();
}

int LIBUSB_CALL libusb_get_string_descriptor_ascii(libusb_device_handle* handle,
                                                   std::uint8_t index, unsigned char* data,
                                                   int length)
{
    Core& core = Core::Get();
    CallScope scope(core.Calls(), Function::k_get_string_descriptor_ascii);
    const bool fails = scope.Begin([handle, index](Call& call) {
        call.handle = handle;
        call.value = index;
    });
    if (fails)
        return scope.End(scope.Failure());
    if (index == 0 || length < 1)
        return scope.End<int>(LIBUSB_ERROR_INVALID_PARAM);
    Lock lock(core.Mutex());
    int result = LIBUSB_ERROR_INVALID_PARAM;
    if (core.CheckOpen(handle, "libusb_get_string_descriptor_ascii")) {
        core.Refresh(Now());
        const auto& connection = handle->device->connection;
        const std::vector<std::uint8_t> text =
            connection->gone ? std::vector<std::uint8_t>{}
                             : connection->device->StringDescriptor(index);
        if (connection->gone)
            result = LIBUSB_ERROR_NO_DEVICE;
        else if (text.size() < 2)
            result = LIBUSB_ERROR_PIPE;
        else {
            int count = 0;  // UTF-16 after two bytes of header (USB 2.0, 9.6.7)
            for (std::size_t at = 2; at + 1 < text.size() && count < length - 1; at += 2)
                data[count++] = text[at + 1] == 0 && text[at] < 0x80 ? text[at] : '?';
            data[count] = 0;
            result = count;
        }
    }
    lock.unlock();
    return scope.End(result);
}
}
