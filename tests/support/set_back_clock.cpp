#include "tests/support/set_back_clock.h"

#include <pthread.h>
#include <sys/time.h>
#include <time.h>

#include <atomic>
#include <map>
#include <mutex>

using std::chrono::microseconds;

namespace {

std::atomic<microseconds::rep> g_ahead{0};
std::mutex g_mutex;
std::map<std::thread::id, std::vector<microseconds>> g_waits;  // guarded by g_mutex

/// What gettimeofday told this thread last.
thread_local microseconds t_reading{0};

microseconds Microseconds(const timeval& time)
{
    return std::chrono::seconds(time.tv_sec) + microseconds(time.tv_usec);
}

microseconds Microseconds(const timespec& time)
{
    return std::chrono::seconds(time.tv_sec) + microseconds(time.tv_nsec / 1000);
}

}  // namespace

namespace test_support {

SetBackClock::SetBackClock(microseconds by)
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    g_waits.clear();
    g_ahead = by.count();
}

SetBackClock::~SetBackClock()
{
    g_ahead = 0;
}

std::vector<microseconds> SetBackClock::WaitsOf(std::thread::id thread) const
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    const auto waits = g_waits.find(thread);
    return waits != g_waits.end() ? waits->second : std::vector<microseconds>();
}

std::size_t SetBackClock::Waiters() const
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    return g_waits.size();
}

}  // namespace test_support

// Visible, since the libraries of a sanitizer refer to these names too.
#pragma GCC visibility push(default)
extern "C" {

int __real_gettimeofday(timeval*, void*);
int __wrap_gettimeofday(timeval* now, void* zone)
{
    const int result = __real_gettimeofday(now, zone);
    const microseconds told = Microseconds(*now) + microseconds(g_ahead.load());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(told);
    now->tv_sec = static_cast<time_t>(seconds.count());
    now->tv_usec = static_cast<suseconds_t>((told - seconds).count());
    t_reading = told;
    return result;
}

int __real_pthread_cond_timedwait(pthread_cond_t*, pthread_mutex_t*, const timespec*);
int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline)
{
    if (g_ahead != 0) {
        const std::lock_guard<std::mutex> guard(g_mutex);
        g_waits[std::this_thread::get_id()].push_back(Microseconds(*deadline) - t_reading);
    }
    return __real_pthread_cond_timedwait(condition, mutex, deadline);
}
}
#pragma GCC visibility pop
