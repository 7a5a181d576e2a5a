#include "tests/pairs/row.h"

#include <iterator>

namespace pairs {

// Some rules that the rows share:
// - Init is refused while CONNECTED. Otherwise it waits for the search or the
//   download of the loader it finds, and starts one of its own unless another
//   one is there by then.
// - A start or a stop, a property and the opening of the adapters wait for
//   each other.
// - A loader takes a recording camera back to CONNECTED, its streams running.
// - Who asks a camera that has left is told so by libusb and goes on; the watch
//   notices, stops recording and reports once. The adapters keep what they
//   opened first, so a camera that came back is of use to a new object only.
const Row kRows[] = {
    // Init on a new object.
    {kInit, kNew, kInit, kNothing, kNothing, "11?", "K",
     "the second waits and looks again, or finds the camera connected"},
    {kInit, kNew, kRetry, kNothing, kNothing, "11?", "K", "as two Inits: nothing to retry"},
    {kInit, kNew, kStart, kNothing, kTrue, "1", "KR",
     "true without effect; records if it waited for the adapters"},
    {kInit, kNew, kStop, kNothing, kFalse, "1", "K", "nothing to stop"},
    {kInit, kNew, kRestart, kNothing, kFalse, "1", "K", "stored for the next start"},
    {kInit, kNew, kUnplug, kNothing, kNothing, "[01]?0", "D",
     "not found, or found and lost, or lost while it was opened and once more when noticed"},
    {kInit, kNew, kReplug, kNothing, kNothing, "1|[01]?0", "KD",
     "as unplug; or the loader opens what came back"},
    {kInit, kNew, kDownload, kNothing, kNothing, "11?", "K",
     "the first loader brings the boot loader up, or the second, or nobody looks any more"},
    {kInit, kNew, kVersion, kNothing, kTrue, "1", "K",
     "asks, or answers 0 before there is a handle"},
    {kInit, kNew, kDestroy, kNothing, kNothing, "1", "-", "waits until the search is over"},
    {kInit, kNew, kDestroyBehindInit, kNothing, kNothing, "1", "-",
     "waits for the search; the Init that waited starts nothing"},

    // Init on an object that records.
    {kInit, kRecording, kInit, kNothing, kNothing, "11?", "K", "as on a new object"},
    {kInit, kRecording, kStart, kNothing, kTrue, "1", "KR",
     "true without effect; starts again if it waited for the adapters"},
    {kInit, kRecording, kStop, kNothing, kAny, "1", "K",
     "stops; an abnormal stop if it waited for the adapters"},
    {kInit, kRecording, kRestart, kNothing, kAny, "1", "K",
     "restarts; stored only if it waited for the adapters"},
    {kInit, kRecording, kLoss, kNothing, kNothing, "[01]?0", "D",
     "the old loader has ended, so the new one notices, searching or watching"},
    {kInit, kRecording, kReplug, kNothing, kNothing, "1|[01]?0", "KD", "as on a new object"},
    {kInit, kRecording, kDownload, kNothing, kNothing, "11?", "K", "as on a new object"},
    {kInit, kRecording, kVersion, kNothing, kTrue, "1", "K", "as on a new object"},

    // The call-back that retries.
    {kRetry, kAbsent, kInit, kNothing, kNothing, "011?", "K",
     "one of the two Inits starts the second loader; the other is content or looks again"},
    {kRetry, kAbsent, kRetry, kNothing, kNothing, "011?", "K", "as Init: nothing more to retry"},
    {kRetry, kAbsent, kStart, kNothing, kTrue, "01", "KR", "as beside Init"},
    {kRetry, kAbsent, kStop, kNothing, kFalse, "01", "K", "nothing to stop"},
    {kRetry, kAbsent, kRestart, kNothing, kFalse, "01", "K", "stored for the next start"},
    {kRetry, kAbsent, kUnplug, kNothing, kNothing, "0[01]?0", "D", "as beside Init"},
    {kRetry, kAbsent, kReplug, kNothing, kNothing, "01|0[01]?0", "KD", "as beside Init"},
    {kRetry, kRecording, kLoss, kNothing, kNothing, "0[01]?0", "D",
     "the retry after a loss finds the camera, which is lost again"},
    {kRetry, kRecording, kStop, kNothing, kFalse, "01", "K",
     "the watch has stopped recording before"},
    {kRetry, kRecording, kVersion, kNothing, kTrue, "01", "K", "of whichever loader is there"},
    {kRetry, kAbsent, kDownload, kNothing, kNothing, "011?", "K",
     "the retry's loader or the other Init's finds the boot loader, or nobody looks any more"},
    {kRetry, kAbsent, kVersion, kNothing, kTrue, "01", "K", "of whichever loader is there"},
    {kRetry, kAbsent, kDestroy, kNothing, kNothing, "01?", "-",
     "waits for the call-back, whose Init starts nothing, or for the retry's loader"},
    {kRetry, kAbsent, kDestroyBehindInit, kNothing, kNothing, "01{0,2}", "-",
     "as cam_destroy; an Init starts nothing afterwards, though it may have before"},
    {kRetry, kMute, kInit, kNothing, kNothing, "000?", "D",
     "adapters are made once, so the camera stays without sound; the loader still watches"},
    {kRetry, kMute, kVersion, kNothing, kTrue, "00", "D", "of whichever loader is there"},
    {kRetry, kMute, kDestroy, kNothing, kNothing, "00?", "-",
     "as where the camera was absent; the first loader has its handle to give back"},

    // StartRecording. Its steps all hold the locks.
    {kStart, kReady, kInit, kTrue, kNothing, "1?", "KR",
     "refused while still CONNECTED; when only the LED is left, the loader waits"},
    {kStart, kReady, kRetry, kTrue, kNothing, "1?", "KR", "as Init: nothing to retry"},
    {kStart, kReady, kStart, kTrue, kTrue, "", "R", "waits, then true without effect"},
    {kStart, kReady, kStop, kTrue, kTrue, "", "K", "waits and stops"},
    {kStart, kReady, kRestart, kTrue, kTrue, "", "R", "waits and restarts"},
    {kStart, kReady, kUnplug, kAny, kNothing, "0", "D", "true or false, the camera stays lost"},
    {kStart, kReady, kReplug, kAny, kNothing, "0", "D", "true or false, the camera stays lost"},
    {kStart, kReady, kLoss, kAny, kNothing, "0", "D", "the watch waits to stop what has started"},
    {kStart, kReady, kVersion, kTrue, kTrue, "", "R", "waits"},
    {kStart, kReady, kDownload, kTrue, kNothing, "1?", "KR",
     "as Init; the boot loader is left alone or brought up"},

    // StopRecording.
    {kStop, kRecording, kInit, kTrue, kNothing, "1", "K", "the loader waits with the adapters"},
    {kStop, kRecording, kRetry, kTrue, kNothing, "1", "K", "the loader waits with the adapters"},
    {kStop, kRecording, kStart, kTrue, kTrue, "", "R", "waits and starts"},
    {kStop, kRecording, kStop, kTrue, kFalse, "", "K", "waits; an abnormal stop"},
    {kStop, kRecording, kRestart, kTrue, kFalse, "", "K", "waits; stored for the next start"},
    {kStop, kRecording, kUnplug, kTrue, kNothing, "0", "D", "stopped before the loss is told"},
    {kStop, kRecording, kReplug, kTrue, kNothing, "0", "D", "stopped before the loss is told"},
    {kStop, kRecording, kLoss, kTrue, kNothing, "0", "D", "the watch waits to stop once more"},
    {kStop, kRecording, kVersion, kTrue, kTrue, "", "K", "waits"},
    {kStop, kRecording, kDownload, kTrue, kNothing, "1", "K",
     "downloads beside it; the loader waits with the adapters"},

    // The property that restarts recording.
    {kRestart, kRecording, kInit, kTrue, kNothing, "1?", "KR",
     "the loader waits with the adapters; refused between stop and start"},
    {kRestart, kRecording, kRetry, kTrue, kNothing, "1?", "KR", "as Init: nothing to retry"},
    {kRestart, kRecording, kStart, kTrue, kTrue, "", "R", "waits, then true without effect"},
    {kRestart, kRecording, kStop, kTrue, kAny, "", "KR",
     "waits; which of the two has its way is not defined"},
    {kRestart, kRecording, kRestart, kTrue, kTrue, "", "R", "waits and restarts"},
    {kRestart, kRecording, kUnplug, kTrue, kNothing, "0", "D", "true whatever came of the restart"},
    {kRestart, kRecording, kReplug, kTrue, kNothing, "0", "D", "true whatever came of the restart"},
    {kRestart, kRecording, kLoss, kTrue, kNothing, "0", "D", "the watch waits to stop"},
    {kRestart, kRecording, kVersion, kTrue, kTrue, "", "R", "waits"},
    {kRestart, kRecording, kDownload, kTrue, kNothing, "1?", "KR",
     "downloads beside it; refused between stop and start"},

    // The version query.
    {kVersion, kRecording, kInit, kTrue, kNothing, "1", "K",
     "the old loader ends after the answer"},
    {kVersion, kRecording, kRetry, kTrue, kNothing, "1", "K", "as Init: nothing to retry"},
    {kVersion, kRecording, kStart, kTrue, kTrue, "", "R", "waits, then true without effect"},
    {kVersion, kRecording, kStop, kTrue, kTrue, "", "K", "waits and stops"},
    {kVersion, kRecording, kRestart, kTrue, kTrue, "", "R", "waits and restarts"},
    {kVersion, kRecording, kUnplug, kTrue, kNothing, "0", "D", "answers 0 without the camera"},
    {kVersion, kRecording, kReplug, kTrue, kNothing, "0", "D", "answers 0 without the camera"},
    {kVersion, kRecording, kLoss, kTrue, kNothing, "0", "D", "the watch closes after the answer"},
    {kVersion, kRecording, kVersion, kTrue, kTrue, "", "R", "waits"},
    {kVersion, kRecording, kDownload, kTrue, kNothing, "1", "K",
     "the old loader ends after the answer"},

    // Transfers that end because the camera was unplugged.
    {kUnplug, kRecording, kInit, kNothing, kNothing, "00?", "D",
     "the old loader may tell before the new one; refused when recording has just been stopped"},
    {kUnplug, kRecording, kRetry, kNothing, kNothing, "000?", "D", "as Init, and once more"},
    {kUnplug, kRecording, kStart, kNothing, kAny, "0", "D", "nothing starts"},
    {kUnplug, kRecording, kStop, kNothing, kAny, "0", "D",
     "true if it stops before the watch does"},
    {kUnplug, kRecording, kRestart, kNothing, kAny, "0", "D",
     "true if it stops before the watch does"},
    {kUnplug, kRecording, kUnplug, kNothing, kNothing, "0", "D", "gone is gone"},
    {kUnplug, kRecording, kReplug, kNothing, kNothing, "0", "D", "back for a new object only"},
    {kUnplug, kRecording, kLoss, kNothing, kNothing, "0", "D", "told once"},
    {kUnplug, kRecording, kVersion, kNothing, kTrue, "0", "D", "answers 0 without the camera"},
    {kUnplug, kRecording, kDestroy, kNothing, kNothing, "0?", "-",
     "the watch may have noticed before"},
    {kUnplug, kRecording, kDownload, kNothing, kNothing, "1|01|0", "KD",
     "another device is brought up; refused when recording has just been stopped"},

    // The same where the camera is back at once.
    {kReplug, kRecording, kInit, kNothing, kNothing, "1|01|0", "KD",
     "finds the camera; refused when recording has just been stopped"},
    {kReplug, kRecording, kRetry, kNothing, kNothing, "1|01|011", "K",
     "finds the camera, by Init or by the retry after the loss"},
    {kReplug, kRecording, kStart, kNothing, kAny, "0", "D", "nothing starts on the dead handle"},
    {kReplug, kRecording, kStop, kNothing, kAny, "0", "D",
     "true if it stops before the watch does"},
    {kReplug, kRecording, kRestart, kNothing, kAny, "0", "D",
     "true if it stops before the watch does"},
    {kReplug, kRecording, kUnplug, kNothing, kNothing, "0", "D", "told once"},
    {kReplug, kRecording, kReplug, kNothing, kNothing, "0", "D", "told once"},
    {kReplug, kRecording, kLoss, kNothing, kNothing, "0", "D", "told once"},
    {kReplug, kRecording, kVersion, kNothing, kTrue, "0", "D", "answers 0 on the dead handle"},
    {kReplug, kRecording, kDestroy, kNothing, kNothing, "0?", "-",
     "the watch may have noticed before"},
    {kReplug, kRecording, kDownload, kNothing, kNothing, "1|01|0", "KD",
     "another device is brought up; refused when recording has just been stopped"},

    // The loader that notices the loss, closes, stops recording and tells.
    {kLoss, kRecording, kInit, kNothing, kNothing, "00?", "D",
     "waits for it; refused when recording has just been stopped"},
    {kLoss, kRecording, kRetry, kNothing, kNothing, "000?", "D",
     "the retry and the other Init start one loader or two, one after the other"},
    {kLoss, kRecording, kStart, kNothing, kAny, "0", "D", "nothing starts, the camera stays lost"},
    {kLoss, kRecording, kStop, kNothing, kAny, "0", "D", "whoever comes first stops"},
    {kLoss, kRecording, kRestart, kNothing, kAny, "0", "D", "whoever comes first stops"},
    {kLoss, kRecording, kUnplug, kNothing, kNothing, "0", "D", "told once"},
    {kLoss, kRecording, kReplug, kNothing, kNothing, "0", "D", "back for a new object only"},
    {kLoss, kRecording, kLoss, kNothing, kNothing, "0", "D", "told once"},
    {kLoss, kRecording, kVersion, kNothing, kTrue, "0", "D", "answers 0 without the camera"},
    {kLoss, kRecording, kDestroy, kNothing, kNothing, "0", "-", "waits until it was told"},
    {kLoss, kRecording, kDestroyBehindInit, kNothing, kNothing, "0", "-",
     "waits until it was told; the Init that waited starts nothing"},
    {kLoss, kRecording, kDownload, kNothing, kNothing, "01|0", "KD",
     "waits, then brings the other device up; refused when recording has just been stopped"},

    // cam_destroy, once the loader has ended.
    {kDestroy, kRecording, kUnplug, kNothing, kNothing, "", "-", "nobody watches any more"},
    {kDestroy, kRecording, kReplug, kNothing, kNothing, "", "-", "nobody watches any more"},

    // The firmware download.
    {kDownload, kBoot, kInit, kNothing, kNothing, "11?", "K", "waits for the download"},
    {kDownload, kBoot, kRetry, kNothing, kNothing, "11?", "K", "waits for the download"},
    {kDownload, kBoot, kStart, kNothing, kTrue, "1", "KR", "as beside Init"},
    {kDownload, kBoot, kStop, kNothing, kFalse, "1", "K", "nothing to stop"},
    {kDownload, kBoot, kRestart, kNothing, kFalse, "1", "K", "stored for the next start"},
    {kDownload, kBoot, kUnplug, kNothing, kNothing, "[01]?0", "D",
     "the camera does not come, or is lost like any other"},
    {kDownload, kBoot, kReplug, kNothing, kNothing, "1|[01]?0", "KD",
     "back in its boot loader the camera does not come; else as beside Init"},
    {kDownload, kBoot, kLoss, kNothing, kNothing, "[01]?0", "D", "as unplug: nobody watches yet"},
    {kDownload, kBoot, kVersion, kNothing, kTrue, "1", "K", "answers 0 while the image is sent"},
    {kDownload, kBoot, kDestroy, kNothing, kNothing, "1", "-",
     "waits for the download and the rest"},
    {kDownload, kBoot, kDestroyBehindInit, kNothing, kNothing, "1", "-",
     "waits for the download; the Init that waited starts nothing"},
    {kDownload, kBoot, kDownload, kNothing, kNothing, "11?", "K",
     "one after the other, or the camera is connected before"},
};
const std::size_t kRowCount = std::size(kRows);

}  // namespace pairs
