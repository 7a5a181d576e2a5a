#include "tests/sweep/labels.h"

#include <cstdio>

namespace sweep {
namespace {

using vcam::standin::Call;

constexpr int kAny = -1;

struct RequestRow {
    unsigned type;
    unsigned request;
    int value;
    int index;
    int byte0;  ///< of the data sent
    int byte1;
    const char* name;
};

constexpr RequestRow kRequests[] = {
    // Negotiation of the video stream.
    {0x21, 0x01, 0x0100, 0x0001, kAny, kAny, "probe set"},
    {0xA1, 0x83, 0x0100, 0x0001, kAny, kAny, "probe maximum"},
    {0xA1, 0x82, 0x0100, 0x0001, kAny, kAny, "probe minimum"},
    {0xA1, 0x81, 0x0100, 0x0001, kAny, kAny, "probe current"},
    {0x21, 0x01, 0x0200, 0x0001, kAny, kAny, "commit"},
    // Sound.
    {0x22, 0x01, 0x0100, 0x0082, kAny, kAny, "rate set"},
    {0xA2, 0x81, 0x0100, 0x0082, kAny, kAny, "rate get"},
    {0xA1, 0x83, 0x0200, 0x0503, kAny, kAny, "volume maximum"},
    {0xA1, 0x82, 0x0200, 0x0503, kAny, kAny, "volume minimum"},
    {0x21, 0x01, 0x0200, 0x0503, kAny, kAny, "volume set"},
    // Extension unit, over the video transport.
    {0x21, 0x01, 0x0E00, 0x0600, 1, kAny, "signal type"},
    {0x21, 0x01, 0x0E00, 0x0600, 2, 1, "option query"},
    {0x21, 0x01, 0x0E00, 0x0600, 2, 2, "option set"},
    {0x21, 0x01, 0x0E00, 0x0600, 3, kAny, "still trigger"},
    {0x21, 0x01, 0x0E00, 0x0600, 13, kAny, "stream target"},
    {0x21, 0x01, 0x0E00, 0x0600, 16, kAny, "user flag"},
    {0x21, 0x01, 0x0E00, 0x0600, 18, kAny, "self-test"},
    {0xA1, 0x81, 0x0F00, 0x0600, kAny, kAny, "reply"},
    {0x21, 0x01, 0x0400, 0x0600, 14, kAny, "indicator"},
    {0x21, 0x01, 0x0100, 0x0600, 2, kAny, "frame rate"},
    {0x21, 0x01, 0x0100, 0x0600, 4, kAny, "key frame"},
    {0x21, 0x01, 0x0100, 0x0600, 8, kAny, "bit rate"},
    {0x21, 0x01, 0x0100, 0x0600, 18, kAny, "status command"},
    {0xA1, 0x81, 0x0200, 0x0600, kAny, kAny, "status reply"},
    // Standard controls.
    {0x21, 0x01, 0x0500, 0x0300, kAny, kAny, "mains frequency"},
    {0x21, 0x01, 0x0D00, 0x0100, kAny, kAny, "pan set"},
    {0xA1, 0x81, 0x0D00, 0x0100, kAny, kAny, "pan get"},
    {0x21, 0x01, 0x0B00, 0x0100, kAny, kAny, "zoom set"},
    {0xA1, 0x81, 0x0B00, 0x0100, kAny, kAny, "zoom get"},
    // Extension unit, over the controller's own handle.
    {0x20, 0x01, 0x0100, 0x0600, 11, kAny, "version command"},
    {0xA0, 0x81, 0x0200, 0x0600, kAny, kAny, "version reply"},
    {0x20, 0x01, 0x0400, 0x0600, 1, 0, "download init"},
    {0x20, 0x01, 0x0400, 0x0600, 1, 1, "download burn"},
    {0x20, 0x01, 0x0300, 0x0600, kAny, kAny, "download block"},
    {0x20, 0x01, 0x0E00, 0x0600, 7, kAny, "write protection"},
    // Vendor bulk download.
    {0x40, 0x82, kAny, kAny, kAny, kAny, "announcement"},
    {0x40, 0x07, kAny, kAny, kAny, kAny, "checksum"},
    {0x40, 0x03, kAny, kAny, kAny, kAny, "burn"},
    {0x40, 0x05, kAny, kAny, kAny, kAny, "burn"},
    {0x40, 0x06, kAny, kAny, kAny, kAny, "burn"},
    {0x40, 0x08, kAny, kAny, kAny, kAny, "burn"},
};

bool Fits(int wanted, int value)
{
    return wanted == kAny || wanted == value;
}

int ByteAt(const Call& call, std::size_t index)
{
    return index < call.data.size() ? call.data[index] : 0x100;
}

std::string Endpoint(const Call& call)
{
    char text[8];
    std::snprintf(text, sizeof text, "%02x", static_cast<unsigned>(call.endpoint));
    return text;
}

}  // namespace

std::string RequestName(const Call& call)
{
    if (call.setup.request_type == 0xA0 && call.setup.value == 0x0200 && call.timeout_ms == 500)
        return "watch";
    for (const RequestRow& row : kRequests) {
        if (row.type == call.setup.request_type && row.request == call.setup.request &&
            Fits(row.value, call.setup.value) && Fits(row.index, call.setup.index) &&
            Fits(row.byte0, ByteAt(call, 0)) && Fits(row.byte1, ByteAt(call, 1)))
            return row.name;
    }
    return "?";
}

std::string Labels::Of(const Call& call) const
{
    const std::string& function = call.function;
    if (function == "libusb_control_transfer")
        return RequestName(call);
    if (function == "libusb_set_interface_alt_setting")
        return std::to_string(call.interface_number) + "/" + std::to_string(call.value);
    if (function == "libusb_claim_interface" || function == "libusb_release_interface" ||
        function == "libusb_kernel_driver_active" || function == "libusb_detach_kernel_driver")
        return std::to_string(call.interface_number);
    if (function == "libusb_alloc_transfer")
        return call.iso_packets > 0 ? "82" : "81";
    if (function == "libusb_submit_transfer")
        return Endpoint(call) + (m_submitted.count(call.transfer) == 0 ? " first" : " again");
    if (function == "libusb_cancel_transfer" || function == "libusb_free_transfer") {
        const auto found = m_submitted.find(call.transfer);
        return found != m_submitted.end() ? found->second : "";
    }
    return "";
}

void Labels::Remember(const Call& call)
{
    if (call.function == "libusb_submit_transfer")
        m_submitted[call.transfer] = Endpoint(call);
    else if (call.function == "libusb_free_transfer")
        m_submitted.erase(call.transfer);
}

}  // namespace sweep
