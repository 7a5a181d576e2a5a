// How transfers end, in the log's words.
#ifndef TORVIK_USB_COMPLETION_LOG_H
#define TORVIK_USB_COMPLETION_LOG_H

#include <libusb.h>

/// A transfer that ends in any other way leaves circulation for the rest of its
/// stream. What arrived before a time-out is the transport's to use.
inline bool BringsData(const libusb_transfer& transfer)
{
    return transfer.status == LIBUSB_TRANSFER_COMPLETED ||
           transfer.status == LIBUSB_TRANSFER_TIMED_OUT;
}

/// The line of a transfer's status, as the transports' callback; none for
/// success. Both transports say the same.
void LogCompletion(const libusb_transfer& transfer);

#endif
