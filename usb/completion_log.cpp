#include "usb/completion_log.h"

#include "runtime/debug_log.h"

namespace {

struct EndText {
    libusb_transfer_status status;
    const char* format;  ///< of one number, which it need not print
};

constexpr EndText kEndpointTexts[] = {
    {LIBUSB_TRANSFER_TIMED_OUT, "LIBUSB_TRANSFER_TIMED_OUT! EP = %x\n"},
    {LIBUSB_TRANSFER_CANCELLED, "LIBUSB_TRANSFER_CANCELLED!\n"},
    {LIBUSB_TRANSFER_NO_DEVICE, "LIBUSB_TRANSFER_NO_DEVICE \r\n"},
    {LIBUSB_TRANSFER_OVERFLOW, "LIBUSB_TRANSFER_OVERFLOW! EP = %x\n"},
};
/// Log readers look for the audio wording in both transports.
constexpr char kOtherStatus[] = "Audio Transfer Unknown Status=%d\r\n";

}  // namespace

void LogCompletion(const libusb_transfer& transfer)
{
    static constexpr char kCallback[] = "callback";
    if (transfer.status == LIBUSB_TRANSFER_COMPLETED)
        return;
    for (const EndText& text : kEndpointTexts) {
        if (text.status == transfer.status) {
            CAM_LOG_AS(kCallback, kLogDebugging, text.format, transfer.endpoint);
            return;
        }
    }
    CAM_LOG_AS(kCallback, kLogDebugging, kOtherStatus, static_cast<int>(transfer.status));
}
