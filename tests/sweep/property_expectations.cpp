// Properties set and read while recording, and the watch.
#include <libusb.h>

#include "tests/sweep/expectation_rows.h"

namespace sweep {
namespace {

constexpr char kRecord[] = "record";
constexpr char kControl[] = "control_transfer";
constexpr char kXuError[] = "KelXUCmd failed : 0x";
constexpr char kTestFailed[] = "Video Auto Test failed.";
constexpr long kUntouched = -77;
/// Where the camera's zoom stands when it is plugged in.
constexpr long kFirstZoom = 100;

Expect NotSet(const char* name)
{
    return Expect().Result(name, 0).Line("Fail set property");
}

}  // namespace

const std::vector<ExpectationRow>& PropertyExpectations()
{
    static const std::vector<ExpectationRow> rows = {
        // The first request comes of an observer's registration.
        {"", kRecord, kControl, "", "key frame", 1, kFails, kAnyCode, Expect()},
        {"", kRecord, kControl, "", "key frame", 2, kFails, kAnyCode, NotSet("key frame")},
        {"", kRecord, kControl, "", "bit rate", 0, kFails, kAnyCode, NotSet("bit rate")},
        {"", kRecord, kControl, "", "frame rate", 0, kFails, kAnyCode, NotSet("frame rate")},
        {"", kRecord, kControl, "", "zoom set", 0, kFails, kAnyCode,
         NotSet("zoom").Result("zoom value", kFirstZoom)},
        {"", kRecord, kControl, "", "pan set", 1, kFails, kAnyCode,
         NotSet("pan").Result("pan value", 0)},
        {"", kRecord, kControl, "", "pan set", 2, kFails, kAnyCode, NotSet("tilt")},
        {"", kRecord, kControl, "", "mains frequency", 0, kFails, kAnyCode, NotSet("frequency")},
        // Whether the volume reached the device is only logged.
        {"", kRecord, kControl, "", "volume set", 0, kFails, kAnyCode,
         Expect().Line("UAC_SetCurVolume: Error: (").Exactly("UAC_SetCurVolume: Error: ({code})\n")},
        {"", kRecord, kControl, "", "user flag", 0, kFails, kAnyCode, NotSet("user flag")},
        {"", kRecord, kControl, "", "still trigger", 0, kFails, kAnyCode, NotSet("still")},

        // A position that cannot be read is 0: the tilt (0 already) kept while
        // the pan is set, the pan kept while the tilt is set, the pan asked for.
        {"", kRecord, kControl, "", "pan get", 1, kNotAnswered, kAnyCode, Expect()},
        {"", kRecord, kControl, "", "pan get", 0, kNotAnswered, kAnyCode,
         Expect().Result("pan value", 0)},
        // The low byte is all of this position.
        {"", kRecord, kControl, "", "zoom get", 0, kShorter, 1, Expect()},
        {"", kRecord, kControl, "", "zoom get", 0, kNotAnswered, kAnyCode,
         Expect().Result("zoom value", 0)},

        // The status is read whether or not it was asked for.
        {"", kRecord, kControl, "", "status command", 0, kFails, kAnyCode,
         Expect().Open("status value")},
        {"", kRecord, kControl, "", "status reply", 0, kNotAnswered, kAnyCode,
         Expect().Result("status value", 0)},
        {"", kRecord, kControl, "", "self-test", 0, kFails, kAnyCode,
         Expect()
             .Result("get self-test", 0)
             .Result("self-test value", kUntouched)
             .Line(kTestFailed)},
        // The first byte is the verdict.
        {"", kRecord, kControl, "", "reply", 0, kShorter, 1, Expect()},
        {"", kRecord, kControl, "", "reply", 0, kNotAnswered, kAnyCode,
         Expect().Result("self-test value", 0).Line(kTestFailed)},
        {"", kRecord, kControl, "", "version command", 0, kFails, kAnyCode,
         Expect()
             .Result("connection value", 0)
             .Line(kXuError)
             .Exactly("KelXUCmd failed : 0x{hex}")
             .Line("Get Firmware Version error")},
        {"", kRecord, kControl, "", "version reply", 0, kFails, kAnyCode,
         Expect()
             .Result("connection value", 0)
             .Line(kXuError)
             .Exactly("KelXUCmd failed : 0x{hex}")
             .Line("Camera Versins is 0")},
        {"", kRecord, kControl, "", "version reply", 0, kShorter, kAnyCode,
         Expect().Result("connection value", 0).Line("Camera Versins is 0")},

        // One unanswered question is nothing; any other failure means that the
        // camera is gone. The loader stops recording, then tells the host. The
        // host's stop and the last one find nothing to stop.
        {"", "watch", "watch", "", "", 0, kFails, LIBUSB_ERROR_TIMEOUT,
         Expect().Line("KelIspCmdGet failed : 0x").Exactly("KelIspCmdGet failed : 0x{hex}")},
        {"", "watch", "watch", "", "", 0, kFails, kAnyCode,
         Expect()
             .Told("10")
             .Result("stop", 0)
             .Line("KelIspCmdGet failed : 0x")
             .Exactly("!!!  KEL Camera Checking :: Camera is disconnected. , hr={code} !!!\r\n")
             .Line("Camera is disconnected.")
             .Line("Abnormal StopRecording.", -1)
             .Line("video_capturer is NULL or m_State is CAM_STATE_DISCONNECTED", 4)},
    };
    return rows;
}

}  // namespace sweep
