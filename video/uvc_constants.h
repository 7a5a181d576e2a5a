// Topology of the camera's video function.
#ifndef TORVIK_VIDEO_UVC_CONSTANTS_H
#define TORVIK_VIDEO_UVC_CONSTANTS_H

constexpr int kVideoControlInterface = 0;
constexpr int kVideoStreamingInterface = 1;
constexpr unsigned char kVideoEndpoint = 0x81;  ///< bulk IN

#endif
