// Which television the camera is built into.
#ifndef TORVIK_CAMERA_TV_PLATFORM_H
#define TORVIK_CAMERA_TV_PLATFORM_H

#include "control/camera_settings.h"

/// Reads the platform identification file and sets what depends on it:
/// tv_platform, offers_signal_types, use_signal_type, video_mode and signal_type.
/// For settings of a camera object under construction: nobody else knows them, so
/// no lock is held.
void DetectTvPlatform(CameraSettings& settings) NO_THREAD_SAFETY_ANALYSIS;

#endif
