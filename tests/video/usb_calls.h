// Readable forms of what the driver asked of libusb and of what it logged.
#ifndef TESTS_VIDEO_USB_CALLS_H
#define TESTS_VIDEO_USB_CALLS_H

#include <string>
#include <vector>

#include "tests/support/log_capture.h"
#include "virtual_camera/standin/bus.h"

/// One call as a line: "claim_interface 1", "control 21 01 0100 0001 26 1000ms".
std::string Describe(const vcam::standin::Call& call);
/// The recorded calls, as lines.
std::vector<std::string> CallLines();
/// Those that begin with the word.
std::vector<std::string> CallLines(const std::string& word);
/// Those that look through the device list or choose an alternate setting. A
/// look is two lines.
std::vector<std::string> LookAndSettingLines();

/// The log as "function/level: message", messages byte for byte.
std::vector<std::string> LogLines(const test_support::LogCapture& log);
/// Lines of one function.
std::vector<std::string> LogLines(const test_support::LogCapture& log,
                                  const std::string& function);

#endif
