#include "tests/runtime/system_calls.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <deque>
#include <mutex>

namespace system_calls {
namespace {

thread_local int t_failures[kFunctions];
thread_local std::deque<timeval> t_times;

struct Seen {
    std::mutex mutex;
    std::vector<std::string> fatal_texts;
    std::vector<PriorityCall> priorities;
    std::vector<std::size_t> stack_sizes;
    std::vector<int> mutex_types;
    std::vector<int> scopes;
    std::vector<timespec> deadlines;
    std::vector<timespec> naps;
    int scope_answer = -1;
    int closed_streams = 0;
};

Seen& TheSeen()
{
    static Seen* const seen = new Seen;  // outlives the process's static objects
    return *seen;
}

using Guard = std::lock_guard<std::mutex>;

// Filled while static objects are made, so constant-initialised.
constexpr int kRemembered = 64;
const pthread_mutex_t* g_initialised[kRemembered];
int g_initialised_count = 0;

}  // namespace

int TakeFailure(Function function)
{
    const int error = t_failures[function];
    t_failures[function] = 0;
    return error;
}

void FailNext(Function function, int error)
{
    t_failures[function] = error;
}

template <typename Value>
std::vector<Value> Copy(const std::vector<Value>& values)
{
    const Guard guard(TheSeen().mutex);
    return values;
}

std::vector<std::string> FatalTexts() { return Copy(TheSeen().fatal_texts); }
std::vector<PriorityCall> PriorityCalls() { return Copy(TheSeen().priorities); }
std::vector<std::size_t> StackSizes() { return Copy(TheSeen().stack_sizes); }
std::vector<int> MutexTypes() { return Copy(TheSeen().mutex_types); }
std::vector<int> Scopes() { return Copy(TheSeen().scopes); }
std::vector<timespec> Deadlines() { return Copy(TheSeen().deadlines); }
std::vector<timespec> Naps() { return Copy(TheSeen().naps); }

void AnswerScope(int scope)
{
    const Guard guard(TheSeen().mutex);
    TheSeen().scope_answer = scope;
}

int ClosedStreams()
{
    const Guard guard(TheSeen().mutex);
    return TheSeen().closed_streams;
}

int InitialisationOrder(const pthread_mutex_t* mutex)
{
    for (int i = 0; i < g_initialised_count; ++i)
        if (g_initialised[i] == mutex)
            return i;
    return -1;
}

void QueueTime(timeval reading)
{
    t_times.push_back(reading);
}

void Reset()
{
    Seen& seen = TheSeen();
    const Guard guard(seen.mutex);
    seen.fatal_texts.clear();
    seen.priorities.clear();
    seen.stack_sizes.clear();
    seen.mutex_types.clear();
    seen.scopes.clear();
    seen.deadlines.clear();
    seen.naps.clear();
    seen.scope_answer = -1;
    seen.closed_streams = 0;
    t_times.clear();
    for (int& failure : t_failures)
        failure = 0;
}

}  // namespace system_calls

using namespace system_calls;

// Visible, since the libraries of a sanitizer refer to these names too.
#pragma GCC visibility push(default)
extern "C" {

void __wrap__Z7__FATALPKcz(const char* format, ...)
{
    char text[512];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const Guard guard(TheSeen().mutex);
    TheSeen().fatal_texts.emplace_back(text);
}

int __wrap_setpriority(int which, unsigned id, int nice)
{
    {
        const Guard guard(TheSeen().mutex);
        TheSeen().priorities.push_back({which, id, nice});
    }
    // Never the real one: a test must not hinder its neighbours.
    errno = TakeFailure(kSetPriority);
    return errno == 0 ? 0 : -1;
}

int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument)
{
    const int error = TakeFailure(kThreadCreate);
    return error != 0 ? error : __real_pthread_create(thread, attributes, routine, argument);
}

int __real_pthread_mutexattr_init(pthread_mutexattr_t*);
int __wrap_pthread_mutexattr_init(pthread_mutexattr_t* attributes)
{
    const int error = TakeFailure(kMutexAttributesInit);
    return error != 0 ? error : __real_pthread_mutexattr_init(attributes);
}

int __real_pthread_mutexattr_settype(pthread_mutexattr_t*, int);
int __wrap_pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int type)
{
    {
        const Guard guard(TheSeen().mutex);
        TheSeen().mutex_types.push_back(type);
    }
    return __real_pthread_mutexattr_settype(attributes, type);
}

int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes)
{
    // Those made before main are what matters; later ones run out of room.
    if (g_initialised_count < kRemembered)
        g_initialised[g_initialised_count++] = mutex;
    return __real_pthread_mutex_init(mutex, attributes);
}

int __real_pthread_mutex_trylock(pthread_mutex_t*);
int __wrap_pthread_mutex_trylock(pthread_mutex_t* mutex)
{
    const int error = TakeFailure(kMutexTryLock);
    return error != 0 ? error : __real_pthread_mutex_trylock(mutex);
}

int __real_pthread_mutex_lock(pthread_mutex_t*);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    const int error = TakeFailure(kMutexLock);
    return error != 0 ? error : __real_pthread_mutex_lock(mutex);
}

int __real_pthread_cond_init(pthread_cond_t*, const pthread_condattr_t*);
int __wrap_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes)
{
    const int result = __real_pthread_cond_init(condition, attributes);
    const int error = TakeFailure(kCondInit);
    return error != 0 ? error : result;
}

int __real_pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*);
int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex)
{
    const int error = TakeFailure(kCondWait);
    return error != 0 ? error : __real_pthread_cond_wait(condition, mutex);
}

int __real_pthread_cond_timedwait(pthread_cond_t*, pthread_mutex_t*, const timespec*);
int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline)
{
    const int error = TakeFailure(kCondTimedWait);
    {
        const Guard guard(TheSeen().mutex);
        TheSeen().deadlines.push_back(*deadline);
    }
    return error != 0 ? error : __real_pthread_cond_timedwait(condition, mutex, deadline);
}

int __real_pthread_attr_setstacksize(pthread_attr_t*, std::size_t);
int __wrap_pthread_attr_setstacksize(pthread_attr_t* attributes, std::size_t size)
{
    {
        const Guard guard(TheSeen().mutex);
        TheSeen().stack_sizes.push_back(size);
    }
    return __real_pthread_attr_setstacksize(attributes, size);
}

int __real_pthread_attr_setscope(pthread_attr_t*, int);
int __wrap_pthread_attr_setscope(pthread_attr_t* attributes, int scope)
{
    {
        const Guard guard(TheSeen().mutex);
        TheSeen().scopes.push_back(scope);
    }
    return __real_pthread_attr_setscope(attributes, scope);
}

int __real_pthread_attr_getscope(const pthread_attr_t*, int*);
int __wrap_pthread_attr_getscope(const pthread_attr_t* attributes, int* scope)
{
    const Guard guard(TheSeen().mutex);
    if (TheSeen().scope_answer < 0)
        return __real_pthread_attr_getscope(attributes, scope);
    *scope = TheSeen().scope_answer;
    return 0;
}

int __real_gettimeofday(timeval*, void*);
int __wrap_gettimeofday(timeval* now, void* zone)
{
    if (t_times.empty())
        return __real_gettimeofday(now, zone);
    *now = t_times.front();
    t_times.pop_front();
    return 0;
}

int __real_nanosleep(const timespec*, timespec*);
int __wrap_nanosleep(const timespec* length, timespec* left)
{
    const int error = TakeFailure(kNanosleep);
    {
        const Guard guard(TheSeen().mutex);
        TheSeen().naps.push_back(*length);
    }
    if (error == 0)
        return __real_nanosleep(length, left);
    if (left != nullptr)
        *left = *length;
    errno = error;
    return -1;
}

int __real_fclose(std::FILE*);
int __wrap_fclose(std::FILE* file)
{
    {
        const Guard guard(TheSeen().mutex);
        ++TheSeen().closed_streams;
    }
    return __real_fclose(file);
}
}
#pragma GCC visibility pop
