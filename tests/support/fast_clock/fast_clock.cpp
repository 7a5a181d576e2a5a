#include "tests/support/fast_clock/fast_clock.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <mutex>

#define FAST_CLOCK_API extern "C" __attribute__((visibility("default")))

namespace {

/// Sleeps beyond this many are not remembered.
constexpr size_t kCapacity = size_t{1} << 20;

/// Memory of its own: the sanitizers' sleep functions, inside which this runs,
/// see allocations but no locks, and would report the one without the other.
fast_clock_sleep g_sleeps[kCapacity];

struct Record {
    std::mutex mutex;
    size_t count = 0;  ///< of g_sleeps; guarded by mutex
    std::atomic<unsigned> divisor{1};

    Record()
    {
        if (const char* text = std::getenv("FAST_CLOCK_DIVISOR"))
            divisor = static_cast<unsigned>(std::strtoul(text, nullptr, 10));
    }
};

Record& TheRecord()
{
    static Record* const record = new Record;  // sleeps may come after exit functions ran
    return *record;
}

constexpr std::uint64_t kNanosecondsASecond = 1000000000;

/// As clock_nanosleep with a relative time: 0 or an error number.
int SleepShortened(clockid_t clock, std::uint64_t nanoseconds, timespec* remaining)
{
    Record& record = TheRecord();
    {
        std::lock_guard<std::mutex> guard(record.mutex);
        if (record.count < kCapacity)
            g_sleeps[record.count++] = {nanoseconds / 1000, pthread_self()};
    }
    const unsigned divisor = record.divisor.load();
    nanoseconds /= divisor == 0 ? 1 : divisor;
    timespec length{};
    length.tv_sec = static_cast<time_t>(nanoseconds / kNanosecondsASecond);
    length.tv_nsec = static_cast<long>(nanoseconds % kNanosecondsASecond);
    // The system call itself: the library's functions are the ones replaced.
    return syscall(SYS_clock_nanosleep, clock, 0, &length, remaining) == 0 ? 0 : errno;
}

std::uint64_t Nanoseconds(const timespec& time)
{
    return static_cast<std::uint64_t>(time.tv_sec) * kNanosecondsASecond +
           static_cast<std::uint64_t>(time.tv_nsec);
}

bool Valid(const timespec* time)
{
    return time && time->tv_sec >= 0 && time->tv_nsec >= 0 &&
           time->tv_nsec < static_cast<long>(kNanosecondsASecond);
}

}  // namespace

FAST_CLOCK_API unsigned fast_clock_divide(unsigned divisor)
{
    return TheRecord().divisor.exchange(divisor);
}

FAST_CLOCK_API int fast_clock_get(size_t index, fast_clock_sleep* sleep)
{
    Record& record = TheRecord();
    std::lock_guard<std::mutex> guard(record.mutex);
    if (index >= record.count)
        return 0;
    *sleep = g_sleeps[index];
    return 1;
}

FAST_CLOCK_API void fast_clock_clear(void)
{
    Record& record = TheRecord();
    std::lock_guard<std::mutex> guard(record.mutex);
    record.count = 0;
}

FAST_CLOCK_API unsigned sleep(unsigned seconds)
{
    timespec remaining{};
    if (SleepShortened(CLOCK_REALTIME, seconds * kNanosecondsASecond, &remaining) == EINTR)
        return static_cast<unsigned>(remaining.tv_sec);
    return 0;
}

FAST_CLOCK_API int usleep(useconds_t microseconds)
{
    const int error = SleepShortened(CLOCK_REALTIME, std::uint64_t{microseconds} * 1000, nullptr);
    if (error == 0)
        return 0;
    errno = error;
    return -1;
}

FAST_CLOCK_API int nanosleep(const timespec* length, timespec* remaining)
{
    const int error =
        Valid(length) ? SleepShortened(CLOCK_REALTIME, Nanoseconds(*length), remaining) : EINVAL;
    if (error == 0)
        return 0;
    errno = error;
    return -1;
}

FAST_CLOCK_API int clock_nanosleep(clockid_t clock, int flags, const timespec* length,
                                   timespec* remaining)
{
    if (!Valid(length))
        return EINVAL;
    std::uint64_t nanoseconds = Nanoseconds(*length);
    if ((flags & TIMER_ABSTIME) != 0) {
        timespec now{};
        if (clock_gettime(clock, &now) != 0)
            return EINVAL;
        const std::uint64_t past = Nanoseconds(now);
        nanoseconds = nanoseconds > past ? nanoseconds - past : 0;
        remaining = nullptr;  // an absolute sleep reports none
    }
    return SleepShortened(clock, nanoseconds, remaining);
}
