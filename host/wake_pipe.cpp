#include "host/wake_pipe.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "host/host_error.h"

namespace host {
namespace {

std::atomic<int> g_write_end{-1};
static_assert(std::atomic<int>::is_always_lock_free, "used in signal handlers");

extern "C" void OnSignal(int)
{
    const int saved = errno;
    WakePipe::Post(Event::kInterrupt);
    errno = saved;
}

}  // namespace

WakePipe::WakePipe()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw SystemError("cannot make a pipe", errno);
    }
    m_read_end = ends[0];
    g_write_end = ends[1];
}

WakePipe::~WakePipe()
{
    close(g_write_end.exchange(-1));
    close(m_read_end);
}

void WakePipe::Post(Event event)
{
    const int fd = g_write_end;
    if (fd >= 0) {
        const char byte = static_cast<char>(event);
        // A full pipe already wakes the reader.
        [[maybe_unused]] const ssize_t written = write(fd, &byte, 1);
    }
}

Event WakePipe::Wait(std::chrono::milliseconds limit)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + limit;
    for (;;) {
        char byte = 0;
        if (read(m_read_end, &byte, 1) == 1) {
            const Event event = static_cast<Event>(byte);
            m_interrupted = m_interrupted || event == Event::kInterrupt;
            return event;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) {
            return Event::kNone;
        }
        pollfd entry{m_read_end, POLLIN, 0};
        poll(&entry, 1, static_cast<int>(left));
    }
}

void WakePipe::CatchSignals()
{
    struct sigaction action {};
    action.sa_handler = OnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigemptyset(&action.sa_mask);
    for (int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(number, &action, nullptr);
    }
    // A closed reader of our output is an error of one write, and a full disk
    // quota an error of another; neither ends the process.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

}  // namespace host
