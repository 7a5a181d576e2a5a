// Verbosity of the driver's log, for tests that link the driver's objects.
#ifndef TESTS_SUPPORT_LOG_LEVEL_H
#define TESTS_SUPPORT_LOG_LEVEL_H

#include "runtime/debug_log.h"
#include "tests/support/log_capture.h"

namespace test_support {

class ScopedLogLevel {
public:
    explicit ScopedLogLevel(unsigned level) : m_before(g_embedded_cam_dbg_level.exchange(level)) {}
    ~ScopedLogLevel() { g_embedded_cam_dbg_level = m_before; }
    ScopedLogLevel(const ScopedLogLevel&) = delete;
    ScopedLogLevel& operator=(const ScopedLogLevel&) = delete;

private:
    const unsigned m_before;
};

/// Catches the log at a given verbosity.
struct CapturedLog : private ScopedLogLevel, public LogCapture {
    explicit CapturedLog(unsigned level = kLogInfo) : ScopedLogLevel(level) {}
};

}  // namespace test_support

#endif
