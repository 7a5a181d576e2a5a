# USB identities and the boot-code image magic of the camera this build drives.
# The defaults are those of the virtual camera.
set(CAM_VENDOR_ID 0x1209 CACHE STRING "Vendor id of the camera and of its boot loader")
set(CAM_PRODUCT_ID 0x0001 CACHE STRING "Product id while the camera firmware runs")
set(CAM_BOOT_PRODUCT_ID 0x0002 CACHE STRING "Product id while only the boot loader runs")
set(CTRL_FALLBACK_VENDOR_ID 0x1209 CACHE STRING "Vendor id tried when the camera is absent")
set(CTRL_FALLBACK_PRODUCT_ID 0x0003 CACHE STRING "Product id tried when the camera is absent")
set(BOOTCODE_MAGIC 0xB07 CACHE STRING "12-bit magic in the version word of boot-code images")

add_library(torvik_identities INTERFACE)
target_compile_definitions(torvik_identities INTERFACE
    TORVIK_CAM_VENDOR_ID=${CAM_VENDOR_ID}
    TORVIK_CAM_PRODUCT_ID=${CAM_PRODUCT_ID}
    TORVIK_CAM_BOOT_PRODUCT_ID=${CAM_BOOT_PRODUCT_ID}
    TORVIK_CTRL_FALLBACK_VENDOR_ID=${CTRL_FALLBACK_VENDOR_ID}
    TORVIK_CTRL_FALLBACK_PRODUCT_ID=${CTRL_FALLBACK_PRODUCT_ID}
    BOOTCODE_MAGIC=${BOOTCODE_MAGIC})
