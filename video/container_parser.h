// The multiplexed container that every video frame is.
#ifndef TORVIK_VIDEO_CONTAINER_PARSER_H
#define TORVIK_VIDEO_CONTAINER_PARSER_H

#include "video/container_sample.h"

/// Indexes a frame without copying. Sections lie back to back; each is a 32-byte
/// header and a data area whose unused rest is zeroed in place. A malformed
/// frame is logged and yields the sections found so far. Always 0.
unsigned int H264Parser_kvr_mode(unsigned char* frame, unsigned int frameSize,
                                 KelH264_MediaSample* sample);

/// Logs the sizes.
void ShowKelH264_MediaSample(KelH264_MediaSample* sample);

#endif
