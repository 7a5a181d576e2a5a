/* A recorder and shortener of sleeps: takes the place of sleep, usleep,
 * nanosleep and clock_nanosleep in the process it is linked or preloaded into.
 * The environment variable FAST_CLOCK_DIVISOR sets the divisor at start; it is
 * 1 otherwise, which changes nothing. */
#ifndef TESTS_SUPPORT_FAST_CLOCK_H
#define TESTS_SUPPORT_FAST_CLOCK_H

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct fast_clock_sleep {
    uint64_t microseconds; /* asked for */
    pthread_t thread;
};

/* Sets by what sleeps are divided from now on; returns the divisor before. */
unsigned fast_clock_divide(unsigned divisor);
/* Sleep number `index` since the start or the last clear; 0 when there is none. */
int fast_clock_get(size_t index, struct fast_clock_sleep* sleep);
void fast_clock_clear(void);

#ifdef __cplusplus
}
#endif

#endif
