// Names of stream types in the log.
#ifndef TORVIK_CAMERA_STREAM_TYPES_H
#define TORVIK_CAMERA_STREAM_TYPES_H

#include "api/cam_types.h"

struct StreamTypeName {
    CAM_STREAM type;
    const char* name;
};

constexpr StreamTypeName kStreamTypeNames[] = {
    {CAM_STREAM_PCM, "CAM_STREAM_PCM"},
    {CAM_STREAM_H264_MAIN, "CAM_STREAM_H264_MAIN"},
    {CAM_STREAM_H264_SUB, "CAM_STREAM_H264_SUB"},
    {CAM_STREAM_MJPEG, "CAM_STREAM_MJPEG"},
    {CAM_STREAM_NV12, "CAM_STREAM_NV12"},
    {CAM_STREAM_GRAY, "CAM_STREAM_GRAY"},
    {CAM_STREAM_YUYV, "CAM_STREAM_YUYV"},
    {CAM_STREAM_JPEG, "CAM_STREAM_JPEG"},
    {CAM_STREAM_NV21, "CAM_STREAM_NV21"},
};

#endif
