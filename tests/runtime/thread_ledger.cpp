#include "tests/runtime/thread_ledger.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace thread_ledger {
namespace {

struct Ledger {
    std::mutex mutex;
    std::vector<pthread_t> joinable;
    int created = 0;
    int joins = 0;
    int joins_of_no_thread = 0;
};

Ledger& TheLedger()
{
    static Ledger* const ledger = new Ledger;  // outlives the process's static objects
    return *ledger;
}

using Guard = std::lock_guard<std::mutex>;

thread_local bool t_refuse = false;
thread_local std::function<void()>* t_after = nullptr;

/// With the ledger locked: false for an id that names no joinable thread.
bool TakeOut(pthread_t thread)
{
    std::vector<pthread_t>& joinable = TheLedger().joinable;
    const auto entry =
        std::find_if(joinable.begin(), joinable.end(), [thread](const pthread_t& other) {
            return pthread_equal(other, thread) != 0;
        });
    if (entry == joinable.end()) {
        ++TheLedger().joins_of_no_thread;
        return false;
    }
    joinable.erase(entry);
    return true;
}

void PutBack(pthread_t thread)
{
    const Guard guard(TheLedger().mutex);
    TheLedger().joinable.push_back(thread);
}

/// A thread is out of the ledger while it is being joined: as soon as it is
/// joined its id may be another one's.
template <typename Join>
int NoteJoin(pthread_t thread, Join join)
{
    {
        const Guard guard(TheLedger().mutex);
        ++TheLedger().joins;
        if (!TakeOut(thread))
            return ESRCH;
    }
    const int error = join();
    if (error != 0)
        PutBack(thread);
    return error;
}

}  // namespace

void Reset()
{
    const Guard guard(TheLedger().mutex);
    TheLedger().created = 0;
    TheLedger().joins = 0;
    TheLedger().joins_of_no_thread = 0;
}

int Created()
{
    const Guard guard(TheLedger().mutex);
    return TheLedger().created;
}

int Joins()
{
    const Guard guard(TheLedger().mutex);
    return TheLedger().joins;
}

int JoinsOfNoThread()
{
    const Guard guard(TheLedger().mutex);
    return TheLedger().joins_of_no_thread;
}

int Joinable()
{
    const Guard guard(TheLedger().mutex);
    return static_cast<int>(TheLedger().joinable.size());
}

void RefuseNextThread()
{
    t_refuse = true;
}

void AfterNextThread(std::function<void()> then)
{
    delete t_after;
    t_after = new std::function<void()>(std::move(then));
}

pid_t OwnNumber()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}

bool Exists(pid_t thread)
{
    return access(("/proc/self/task/" + std::to_string(thread)).c_str(), F_OK) == 0;
}

}  // namespace thread_ledger

using namespace thread_ledger;

// Visible, since the libraries of a sanitizer refer to these names too.
#pragma GCC visibility push(default)
extern "C" {

int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument)
{
    if (std::exchange(t_refuse, false))
        return EAGAIN;
    int state = PTHREAD_CREATE_JOINABLE;
    if (attributes != nullptr)
        pthread_attr_getdetachstate(attributes, &state);
    int error;
    {
        // Locked, so that a thread which detaches itself finds itself here.
        const Guard guard(TheLedger().mutex);
        error = __real_pthread_create(thread, attributes, routine, argument);
        if (error == 0) {
            ++TheLedger().created;
            if (state == PTHREAD_CREATE_JOINABLE)
                TheLedger().joinable.push_back(*thread);
        }
    }
    if (t_after != nullptr && error == 0) {
        (*t_after)();
        delete std::exchange(t_after, nullptr);
    }
    return error;
}

int __real_pthread_join(pthread_t, void**);
int __wrap_pthread_join(pthread_t thread, void** result)
{
    return NoteJoin(thread, [&] { return __real_pthread_join(thread, result); });
}

int __real_pthread_tryjoin_np(pthread_t, void**);
int __wrap_pthread_tryjoin_np(pthread_t thread, void** result)
{
    return NoteJoin(thread, [&] { return __real_pthread_tryjoin_np(thread, result); });
}

int __real_pthread_timedjoin_np(pthread_t, void**, const timespec*);
int __wrap_pthread_timedjoin_np(pthread_t thread, void** result, const timespec* deadline)
{
    return NoteJoin(thread, [&] { return __real_pthread_timedjoin_np(thread, result, deadline); });
}

int __real_pthread_detach(pthread_t);
int __wrap_pthread_detach(pthread_t thread)
{
    const Guard guard(TheLedger().mutex);
    return TakeOut(thread) ? __real_pthread_detach(thread) : ESRCH;
}

/// Never the real one: a test must not hinder its neighbours.
int __wrap_setpriority(int, unsigned, int)
{
    return 0;
}
}
#pragma GCC visibility pop
