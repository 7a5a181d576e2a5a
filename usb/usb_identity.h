// USB identities of the camera, configured at build time.
#ifndef TORVIK_USB_USB_IDENTITY_H
#define TORVIK_USB_USB_IDENTITY_H

#include <cstdint>

constexpr std::uint16_t CAM_VENDOR_ID = TORVIK_CAM_VENDOR_ID;
/// Camera firmware running.
constexpr std::uint16_t CAM_PRODUCT_ID = TORVIK_CAM_PRODUCT_ID;
/// Only the boot loader running.
constexpr std::uint16_t CAM_BOOT_PRODUCT_ID = TORVIK_CAM_BOOT_PRODUCT_ID;
/// Tried by both transports when the requested identity is absent.
constexpr std::uint16_t CTRL_FALLBACK_VENDOR_ID = TORVIK_CTRL_FALLBACK_VENDOR_ID;
constexpr std::uint16_t CTRL_FALLBACK_PRODUCT_ID = TORVIK_CTRL_FALLBACK_PRODUCT_ID;

#endif
