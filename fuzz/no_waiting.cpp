// Time does not pass for what is fuzzed: sleeps return at once, and waits time
// out at once, since there is no other thread that could end them. Linked with
// --wrap for each of these.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>

extern "C" {

void __wrap__Z17SleepMicrosecondsm(unsigned long) {}

int __wrap_pthread_cond_timedwait(pthread_cond_t*, pthread_mutex_t*, const timespec*)
{
    return ETIMEDOUT;
}

int __wrap_pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*)
{
    std::fputs("a wait that nobody ends\n", stderr);
    std::abort();
}
}
