// Calls of the streams, and those whose result nobody looks at.
#include <libusb.h>

#include "tests/sweep/expectation_rows.h"

namespace sweep {
namespace {

constexpr char kSubmit[] = "submit_transfer";
constexpr char kUnknown[] = "Audio Transfer Unknown Status=";

}  // namespace

const std::vector<ExpectationRow>& TransferExpectations()
{
    static const std::vector<ExpectationRow> rows = {
        // A transfer that cannot be submitted again, or ends badly, leaves
        // circulation; the stream goes on with the others.
        {"", "", kSubmit, "", "81 again|82 again", 0, kFails, kAnyCode, Expect()},
        // What ends while its stream is closed is not looked at any more.
        {"", "start-up|start|stop|restart|destroy|watch", kSubmit, "", "81 again|82 again", 0, kEnds,
         kAnyCode, Expect().AnyLog()},
        {"", "start-up", kSubmit, "", "82 first", 0, kEnds, kAnyCode, Expect().AnyLog()},
        {"", "", kSubmit, "", "", 0, kEnds, LIBUSB_TRANSFER_COMPLETED, Expect()},
        {"", "", kSubmit, "", "", 0, kEnds, LIBUSB_TRANSFER_CANCELLED, Expect()},
        {"", "", kSubmit, "", "", 0, kEnds, LIBUSB_TRANSFER_ERROR,
         Expect().Line(kUnknown).Exactly("Audio Transfer Unknown Status={code}\r\n")},
        {"", "", kSubmit, "", "", 0, kEnds, LIBUSB_TRANSFER_STALL,
         Expect().Line(kUnknown).Exactly("Audio Transfer Unknown Status={code}\r\n")},
        {"", "", kSubmit, "", "", 0, kEnds, LIBUSB_TRANSFER_TIMED_OUT,
         Expect().Line("LIBUSB_TRANSFER_TIMED_OUT! EP = ")},
        {"", "", kSubmit, "", "", 0, kEnds, LIBUSB_TRANSFER_NO_DEVICE,
         Expect().Line("LIBUSB_TRANSFER_NO_DEVICE")},
        {"", "", kSubmit, "", "", 0, kEnds, LIBUSB_TRANSFER_OVERFLOW,
         Expect().Line("LIBUSB_TRANSFER_OVERFLOW! EP = ")},

        // It ends by itself, in time or at its time limit.
        {"", "", "cancel_transfer", "", "", 0, kFails, kAnyCode,
         Expect().MaybeLine("LIBUSB_TRANSFER_TIMED_OUT! EP = ")},
        {"", "", "release_interface|handle_events_timeout", "", "", 0, kFails, kAnyCode,
         Expect()},
    };
    return rows;
}

}  // namespace sweep
