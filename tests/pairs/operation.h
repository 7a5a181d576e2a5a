// The things that are run at the same time, and what they may come to.
#ifndef TESTS_PAIRS_OPERATION_H
#define TESTS_PAIRS_OPERATION_H

#include <cstddef>

#include "tests/pairs/callers.h"

namespace pairs {

class Scene;

enum Name {
    kInit,      ///< Init
    kRetry,     ///< a call-back that says "not ready" calls Init again, once
    kStart,     ///< StartRecording
    kStop,      ///< StopRecording
    kRestart,   ///< SetProperty of a resolution that was not set before
    kUnplug,    ///< the camera is unplugged
    kReplug,    ///< the camera leaves and is back at once
    kLoss,      ///< the loader's watch notices that the camera is gone
    kDestroy,   ///< cam_destroy
    kDownload,  ///< Init finds a boot loader
    kVersion,   ///< GetProperty of the version
    /// cam_destroy while another host thread is inside Init, where that waits
    /// for a loader.
    kDestroyBehindInit,
};

/// What the camera object and the device are when the first thing begins.
enum From {
    kNew,        ///< a camera object without Init, the camera is there
    kAbsent,     ///< the same, but the camera is plugged in only for the retry
    kMute,       ///< the same, but the first loader gets no hold of the sound
    kBoot,       ///< the same, but the device is in its boot loader
    kReady,      ///< CAM_STATE_CONNECTED
    kRecording,  ///< CAM_STATE_RECORDING, with sound
};

enum Result { kNothing, kFalse, kTrue, kAny };

/// Which part the operation has in its pair.
enum class Part {
    kHeld,   ///< the first one, which the gate holds
    kOther,  ///< the second one
};

struct Operation {
    const char* name;
    /// Runs it on the calling thread.
    Result (*run)(Scene& scene, Part part);
    /// Whether a call into libusb belongs to the operation, on top of those of
    /// the thread that runs it. Asked from the moment it begins.
    bool (*counts)(const Scene& scene, const Caller& who, const Call& call);
};

const Operation& OperationOf(Name name);
const char* TextOf(From from);
const char* TextOf(Result result);

}  // namespace pairs

#endif
