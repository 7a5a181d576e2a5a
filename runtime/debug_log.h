// The debug log: one line to standard output per diagnostic.
#ifndef TORVIK_RUNTIME_DEBUG_LOG_H
#define TORVIK_RUNTIME_DEBUG_LOG_H

#include <atomic>
#include <cstdint>
#include <cstdio>

/// Severity of a line. A line is printed when its level is at most the
/// verbosity; level 0 prints bare text, always.
enum : unsigned {
    kLogBare = 0,
    kLogFatal = 1,  ///< failures and lifecycle milestones, red
    kLogMajor = 2,
    kLogWarning = 3,
    kLogDebugging = 4,
    kLogInfo = 5,  ///< per frame
};

/// Current verbosity, 1 to 5. Relaxed: a late line more or less is harmless.
extern std::atomic<std::uint32_t> g_embedded_cam_dbg_level;

/// Optional log file. Opened and closed but never written to, by one thread at a
/// time: no lock.
extern std::FILE* gDbgLog;

/// Prints one diagnostic: header, message and closing line as three writes to
/// standard output. Any thread; takes no lock and allocates nothing. `module`
/// indexes the module names (0 to 2), `function` is the bare name of the
/// caller.
void PrintDebug(unsigned module, unsigned level, const char* function, int line,
                const char* format, ...) __attribute__((format(printf, 5, 6)));

/// Closes an open log file and opens `path` for writing. Null opens nothing
/// and returns the handle held before, closed or not.
std::FILE* PrintDebuggingInit(const char* path);
void PrintDebuggingClose();

/// Hook for failures of the operating system's primitives. Does nothing on
/// purpose: such failures never end the process.
void __FATAL(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Logs under a given function name. The level is tested before anything else,
/// so that the arguments of a filtered line are not evaluated.
#define CAM_LOG_AS(function, level, ...)                                                  \
    do {                                                                                  \
        if ((level) <= g_embedded_cam_dbg_level.load(std::memory_order_relaxed))          \
            PrintDebug(0, (level), (function), __LINE__, __VA_ARGS__);                    \
    } while (false)

/// Logs under the calling function's own name.
#define CAM_LOG(level, ...) CAM_LOG_AS(__func__, level, __VA_ARGS__)

#endif
