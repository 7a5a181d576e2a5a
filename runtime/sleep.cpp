#include "runtime/sleep.h"

#include <cerrno>
#include <time.h>

void SleepMicroseconds(unsigned long microseconds)
{
    timespec left;
    left.tv_sec = static_cast<time_t>(microseconds / 1000000UL);
    left.tv_nsec = static_cast<long>(microseconds % 1000000UL) * 1000L;
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}
