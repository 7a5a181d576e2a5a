/// @file
/// The frame record handed to observers.
#ifndef TORVIK_API_CAMERA_DATA_H
#define TORVIK_API_CAMERA_DATA_H

#include <cstddef>
#include <cstdint>

#include "api/cam_types.h"

/// Position of the crop window, filled in for NV12 and GRAY frames.
struct CCameraCropInfo {
    bool cropped;         ///< the image shows a crop window
    std::uint32_t pos_y;  ///< vertical position as last set by the host, in pixels
    std::uint32_t pos_x;  ///< horizontal position as last set by the host, in pixels
};

/// One frame. The record, the data and the crop record belong to the driver
/// and are valid only during ICameraObserver::OnFrame: copy what must outlive
/// the call.
struct CCameraData {
    unsigned char* data;  ///< payload: H.264 pieces with start codes, a JPEG file, an image, PCM
    /// Payload length in bytes. Null data with size 0 tells NV12 and GRAY
    /// observers that recording has stopped.
    std::uint32_t size;
    union {
        /// NV12 and GRAY inside the driver: the camera's crop flag; observers
        /// always see 0 and find the answer in crop_info. 0 for other images.
        std::uint32_t crop_flag;
        /// H.264 and PCM: 90 kHz clock ticks counted from the start of the
        /// capture thread of that medium. After 2^32 (13 h 15 min) that of
        /// H.264 wraps and that of PCM stays at the highest value. Two equal
        /// clock readings make the stamp jump by about 71.6 minutes; hosts must
        /// expect it and fall back to arrival times.
        std::uint32_t timestamp;
    };
    CAM_STREAM stream_type;       ///< whose observers get it
    std::uint32_t format_detail;  ///< 12 for NV12 and GRAY; not meaningful for the others
    /// NV12 and GRAY only, null in the record that ends their stream; not
    /// meaningful for the others.
    CCameraCropInfo* crop_info;
};

static_assert(sizeof(CCameraCropInfo) == 12 && offsetof(CCameraCropInfo, pos_y) == 4 &&
                  offsetof(CCameraCropInfo, pos_x) == 8,
              "CCameraCropInfo crosses the binary interface");
#if __SIZEOF_POINTER__ == 4
static_assert(sizeof(CCameraData) == 24 && offsetof(CCameraData, data) == 0 &&
                  offsetof(CCameraData, size) == 4 && offsetof(CCameraData, crop_flag) == 8 &&
                  offsetof(CCameraData, stream_type) == 12 &&
                  offsetof(CCameraData, format_detail) == 16 &&
                  offsetof(CCameraData, crop_info) == 20,
              "CCameraData crosses the binary interface");
#endif

#endif
