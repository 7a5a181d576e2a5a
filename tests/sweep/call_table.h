// Which libusb calls are disturbed, and how each of them can fail.
#ifndef TESTS_SWEEP_CALL_TABLE_H
#define TESTS_SWEEP_CALL_TABLE_H

#include <cstddef>
#include <iterator>

#include "virtual_camera/standin/call.h"

namespace sweep {

using vcam::standin::Call;

/// A read-only view of a constexpr array.
struct Codes {
    const int* first = nullptr;
    std::size_t count = 0;

    const int* begin() const { return first; }
    const int* end() const { return first + count; }
};

struct CallRow {
    const char* name;
    const char* function;
    bool (*matches)(const Call&);  ///< null: every call of the function
    Codes codes;                   ///< libusb_error values, or one -1 where the call returns null
    Codes statuses;                ///< libusb_transfer_status values of the completion
    Codes short_replies;           ///< bytes that a control request moves
};

/// True for the loader's question, once a second, whether the camera is there.
/// Its number in a phase is a matter of time, so it is a row of its own.
bool IsWatch(const Call& call);

extern const CallRow kCalls[];
extern const std::size_t kCallCount;

/// Null for an unknown name.
const CallRow* FindCall(const char* name);

}  // namespace sweep

#endif
