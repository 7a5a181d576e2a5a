#include "virtual_camera/standin/chapter9.h"

#include <algorithm>

#include "virtual_camera/control_answer.h"

namespace vcam::standin {
namespace {

constexpr std::uint8_t kTypeMask = 0x60;  // of bmRequestType; 0 is a standard request

TransferResult GetDescriptor(Connection& connection, const SetupPacket& setup, unsigned char* data)
{
    const auto index = static_cast<std::uint8_t>(setup.value & 0xFF);
    std::vector<std::uint8_t> bytes;
    switch (setup.value >> 8) {
    case LIBUSB_DT_DEVICE:
        bytes = connection.device_descriptor;
        break;
    case LIBUSB_DT_CONFIG:
        if (index == 0)
            bytes = connection.config_descriptor;
        break;
    case LIBUSB_DT_STRING:
        bytes = connection.device->StringDescriptor(index);
        break;
    default:
        break;
    }
    return bytes.empty() ? Stall() : Reply(setup, data, bytes);
}

TransferResult Standard(Connection& connection, const SetupPacket& setup, unsigned char* data,
                        TimeUs now)
{
    Interface* const interface = connection.FindInterface(setup.index & 0xFF);
    switch (setup.request) {
    case LIBUSB_REQUEST_GET_DESCRIPTOR:
        return setup.request_type == 0x80 ? GetDescriptor(connection, setup, data) : Stall();
    case LIBUSB_REQUEST_GET_STATUS:
        return Reply(setup, data, {0, 0});
    case LIBUSB_REQUEST_GET_CONFIGURATION:
        return Reply(setup, data, {static_cast<std::uint8_t>(connection.configuration)});
    case LIBUSB_REQUEST_SET_CONFIGURATION:
        return {TransferStatus::kCompleted, 0, kNever};
    case LIBUSB_REQUEST_GET_INTERFACE:
        return interface ? Reply(setup, data, {static_cast<std::uint8_t>(interface->setting)})
                         : Stall();
    case LIBUSB_REQUEST_SET_INTERFACE: {
        if (!interface || setup.value >= interface->settings)
            return Stall();
        const TransferResult result = connection.device->SetAlternateSetting(
            static_cast<unsigned>(interface->number), setup.value, now);
        if (result.status == TransferStatus::kCompleted)
            interface->setting = setup.value;
        return result;
    }
    case LIBUSB_REQUEST_CLEAR_FEATURE:
        return setup.request_type == LIBUSB_RECIPIENT_ENDPOINT
                   ? connection.device->ClearHalt(static_cast<std::uint8_t>(setup.index & 0xFF),
                                                  now)
                   : Stall();
    default:
        return Stall();
    }
}

}  // namespace

SetupPacket DecodeSetup(const unsigned char* bytes)
{
    const auto word = [bytes](int at) {
        return static_cast<std::uint16_t>(bytes[at] | (bytes[at + 1] << 8));
    };
    return {bytes[0], bytes[1], word(2), word(4), word(6)};
}

TransferResult ServeControl(Connection& connection, unsigned char* buffer, TimeUs now)
{
    const SetupPacket setup = DecodeSetup(buffer);
    unsigned char* const data = buffer + LIBUSB_CONTROL_SETUP_SIZE;
    TransferResult result = (setup.request_type & kTypeMask) == 0
                                ? Standard(connection, setup, data, now)
                                : connection.device->Control(setup, data, now);
    result.length = std::min<std::size_t>(result.length, setup.length);
    return result;
}

}  // namespace vcam::standin
