#include "tests/camera/held_thread.h"

#include <pthread.h>

#include <chrono>
#include <cstdio>
#include <optional>
#include <random>
#include <utility>

namespace {

struct Countdown {
    int left = 0;
    std::shared_ptr<held_thread::Hold> hold = nullptr;

    void Step()
    {
        if (left == 0 || --left > 0)
            return;
        // A copy: the gate's own lock makes steps, too.
        const auto here = hold;
        here->reached = true;
        here->gate.Pass();
    }
};

thread_local Countdown t_steps;
thread_local Countdown t_reads;
thread_local std::optional<std::minstd_rand> t_lateness;
std::atomic<int> g_threads_made{0};
std::atomic<int> g_threads_running{0};

/// What a thread was made for. The end is that of the routine: what follows is
/// the system's own, and may go on when the thread has been joined.
struct Errand {
    void* (*routine)(void*);
    void* argument;

    static void* Run(void* errand)
    {
        const std::unique_ptr<Errand> self(static_cast<Errand*>(errand));
        return self->routine(self->argument);
    }
    ~Errand() { --g_threads_running; }
};

/// Not by sleeping: whoever sleeps is late by much more.
void Dawdle()
{
    using Clock = std::chrono::steady_clock;
    const auto late = std::chrono::microseconds((*t_lateness)() % 200);
    for (const auto end = Clock::now() + late; Clock::now() < end;) {
    }
}

void Step()
{
    if (t_lateness)
        Dawdle();
    t_steps.Step();
}

}  // namespace

namespace held_thread {

void AtStep(int nth, std::shared_ptr<Hold> hold)
{
    t_steps = {nth, std::move(hold)};
}

void AtRead(int nth, std::shared_ptr<Hold> hold)
{
    t_reads = {nth, std::move(hold)};
}

void Dawdle(unsigned seed)
{
    t_lateness.emplace(seed);
}

void Nowhere()
{
    t_lateness.reset();
    t_steps = {};
    t_reads = {};
}

int ThreadsMade()
{
    return g_threads_made;
}

int ThreadsRunning()
{
    return g_threads_running;
}

}  // namespace held_thread

// Visible, since the libraries of a sanitizer refer to these names too.
#pragma GCC visibility push(default)
extern "C" {

int __real_pthread_mutex_lock(pthread_mutex_t*);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    Step();
    return __real_pthread_mutex_lock(mutex);
}

int __real_pthread_mutex_unlock(pthread_mutex_t*);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex)
{
    const int result = __real_pthread_mutex_unlock(mutex);
    Step();
    return result;
}

int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument)
{
    Step();
    ++g_threads_made;
    ++g_threads_running;
    auto* const errand = new Errand{routine, argument};
    const int result = __real_pthread_create(thread, attributes, Errand::Run, errand);
    if (result != 0)
        delete errand;
    Step();
    return result;
}

int __real_pthread_join(pthread_t, void**);
int __wrap_pthread_join(pthread_t thread, void** result)
{
    Step();
    const int error = __real_pthread_join(thread, result);
    Step();
    return error;
}

int __real_pthread_tryjoin_np(pthread_t, void**);
int __wrap_pthread_tryjoin_np(pthread_t thread, void** result)
{
    Step();
    const int error = __real_pthread_tryjoin_np(thread, result);
    Step();
    return error;
}

std::size_t __real_fread(void*, std::size_t, std::size_t, std::FILE*);
std::size_t __wrap_fread(void* data, std::size_t size, std::size_t count, std::FILE* file)
{
    t_reads.Step();
    return __real_fread(data, size, count, file);
}
}
#pragma GCC visibility pop
