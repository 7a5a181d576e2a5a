// A libusb context of one's own.
#ifndef TORVIK_USB_USB_CONTEXT_H
#define TORVIK_USB_USB_CONTEXT_H

#include <libusb.h>

/// Made with its owner and ended by it, with Exit. Where libusb refused to make
/// one it is not ready: calls with its null pointer would then go to the
/// default context, which belongs to somebody else or does not exist.
class UsbContext
{
public:
    UsbContext() : m_ready(libusb_init(&m_context) >= 0) {}
    UsbContext(const UsbContext&) = delete;
    UsbContext& operator=(const UsbContext&) = delete;

    bool IsReady() const { return m_ready; }
    libusb_context* Get() const { return m_context; }
    void Exit()
    {
        if (m_ready)
            libusb_exit(m_context);
    }

private:
    libusb_context* m_context = nullptr;
    const bool m_ready;
};

#endif
