#include "tests/support/refused_thread.h"

#include <pthread.h>

#include <cerrno>

namespace {
thread_local bool t_refuse = false;
}

void test_support::RefuseNextThread()
{
    t_refuse = true;
}

extern "C" {

int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument)
{
    if (!t_refuse)
        return __real_pthread_create(thread, attributes, routine, argument);
    t_refuse = false;
    return EAGAIN;
}
}
