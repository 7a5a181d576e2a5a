// One disturbance of one libusb call.
#ifndef TESTS_SWEEP_FAULT_H
#define TESTS_SWEEP_FAULT_H

#include <cstddef>
#include <string>

namespace sweep {

enum class Kind {
    kNone,        ///< an undisturbed run
    kCode,        ///< the call fails with `code` and has no effect
    kCompletion,  ///< the submitted transfer ends with status `code`
    kShortReply,  ///< the control request moves `code` bytes at most
    kUnplug,      ///< the camera leaves the bus just before the call
};

const char* NameOf(Kind kind);

struct Fault {
    std::string scenario;
    std::string phase;  ///< of the scenario; calls are counted from its begin
    std::string call;   ///< a row of the call table
    std::size_t nth = 0;
    Kind kind = Kind::kNone;
    int code = 0;

    /// "scenario/phase/call/nth/kind/code", which Parse takes back.
    std::string ToString() const;
    /// Throws std::invalid_argument.
    static Fault Parse(const std::string& text);
};

}  // namespace sweep

#endif
