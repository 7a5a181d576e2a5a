// A worker whose body a test gives.
#ifndef TESTS_RUNTIME_WORKER_H
#define TESTS_RUNTIME_WORKER_H

#include <atomic>
#include <functional>
#include <utility>

#include "runtime/thread.h"
#include "tests/support/wait_until.h"

class Worker : public pThread {
public:
    explicit Worker(std::function<void(Worker&)> body, bool detached = false, int stack_size = -1)
        : pThread(detached, stack_size), m_body(std::move(body))
    {
    }
    ~Worker() override { Stop(); }

    void Run() override
    {
        ++started;
        m_body(*this);
        ++ended;
    }

    /// A body that waits for the stop request.
    static void UntilStopped(Worker& worker)
    {
        test_support::WaitUntil([&worker] { return worker.StopRequested(); });
    }

    std::atomic<int> started{0};
    std::atomic<int> ended{0};

private:
    const std::function<void(Worker&)> m_body;
};

#endif
