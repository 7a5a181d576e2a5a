// Calls of the runtime into the system, seen and made to fail. The test program
// is linked with --wrap for each of them, so only what is linked into it is
// affected.
#ifndef TESTS_RUNTIME_SYSTEM_CALLS_H
#define TESTS_RUNTIME_SYSTEM_CALLS_H

#include <pthread.h>
#include <sys/time.h>
#include <time.h>

#include <cstddef>
#include <string>
#include <vector>

namespace system_calls {

/// Functions that can fail. Each returns its error number; setpriority and
/// nanosleep return -1 and set errno.
enum Function {
    kSetPriority,
    kThreadCreate,
    kMutexAttributesInit,
    kMutexLock,
    kMutexTryLock,
    kCondInit,
    kCondWait,
    kCondTimedWait,
    kNanosleep,
    kFunctions,
};

/// Lets the next call on this thread fail with an error number.
void FailNext(Function function, int error);

/// What reached the fatal hook since Reset, formatted.
std::vector<std::string> FatalTexts();

struct PriorityCall {
    int which;
    unsigned id;
    int nice;
};
std::vector<PriorityCall> PriorityCalls();

/// Sizes given to pthread_attr_setstacksize since Reset.
std::vector<std::size_t> StackSizes();
/// Types given to pthread_mutexattr_settype since Reset.
std::vector<int> MutexTypes();
/// Scopes given to pthread_attr_setscope since Reset.
std::vector<int> Scopes();
/// Lets pthread_attr_getscope answer this; -1 asks the system.
void AnswerScope(int scope);
/// Deadlines of timed waits since Reset.
std::vector<timespec> Deadlines();
/// Times asked of nanosleep since Reset.
std::vector<timespec> Naps();
/// Number of streams closed since Reset.
int ClosedStreams();

/// The position among all mutexes initialised in this process, from 0; -1 when
/// it is not among the first ones.
int InitialisationOrder(const pthread_mutex_t* mutex);

/// Readings of the clock on this thread, oldest first; then the system's again.
void QueueTime(timeval reading);

void Reset();

}  // namespace system_calls

#endif
