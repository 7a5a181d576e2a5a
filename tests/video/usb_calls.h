// Readable forms of what the driver asked of libusb and of what it logged.
#ifndef TESTS_VIDEO_USB_CALLS_H
#define TESTS_VIDEO_USB_CALLS_H

#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/log_capture.h"
#include "virtual_camera/standin/bus.h"

/// One call as a line: "claim_interface 1", "control 21 01 0100 0001 26 1000ms".
std::string Describe(const vcam::standin::Call& call);
/// The recorded calls, as lines.
std::vector<std::string> CallLines();
/// Those that begin with the word.
std::vector<std::string> CallLines(const std::string& word);
/// The recorded calls without those that a busy machine adds: transfers to
/// which no data came in time are submitted again. For logs that begin while
/// this lives; ends after the transports.
class SteadyCalls {
public:
    SteadyCalls();
    ~SteadyCalls();
    SteadyCalls(const SteadyCalls&) = delete;
    SteadyCalls& operator=(const SteadyCalls&) = delete;

    std::vector<std::string> Lines() const;

private:
    using Submission = std::pair<const void*, vcam::TimeUs>;  ///< transfer, when

    int m_completion_hook;
    int m_submission_hook;
    mutable std::mutex m_mutex;  // a leaf; guards everything below
    std::set<const void*> m_timed_out;
    std::set<Submission> m_repetitions;
};

/// Those that look through the device list or choose an alternate setting. A
/// look is two lines.
std::vector<std::string> LookAndSettingLines();

/// The log as "function/level: message", messages byte for byte.
std::vector<std::string> LogLines(const test_support::LogCapture& log);
/// Lines of one function.
std::vector<std::string> LogLines(const test_support::LogCapture& log,
                                  const std::string& function);

#endif
