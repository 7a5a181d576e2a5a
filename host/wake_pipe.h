// Wakes a waiting thread from places that may do next to nothing: signal
// handlers and the driver's call-back.
#ifndef TORVIK_HOST_WAKE_PIPE_H
#define TORVIK_HOST_WAKE_PIPE_H

#include <chrono>

namespace host {

/// What can happen while camhost waits.
enum class Event : char {
    kNone = 0,          ///< the time is over
    kInterrupt = 'i',   ///< Ctrl-C or a polite kill
    kReady = 'r',       ///< the camera is ready
    kLost = 'l',        ///< no camera, or not any more
    kWriter = 'w',      ///< the writing thread has ended
};

/// One pipe for the whole process.
class WakePipe {
public:
    WakePipe();
    ~WakePipe();
    WakePipe(const WakePipe&) = delete;
    WakePipe& operator=(const WakePipe&) = delete;

    /// Async-signal-safe, any thread. Without an object, nothing happens.
    static void Post(Event event);

    /// The next event, or kNone after `limit`. Once interrupted, it stays so:
    /// Interrupted() tells.
    Event Wait(std::chrono::milliseconds limit);
    bool Interrupted() const { return m_interrupted; }

    /// SIGINT, SIGTERM and SIGHUP become kInterrupt; the second of a kind acts
    /// as usual, so that an impatient person gets out.
    static void CatchSignals();

private:
    int m_read_end;
    bool m_interrupted = false;
};

}  // namespace host

#endif
