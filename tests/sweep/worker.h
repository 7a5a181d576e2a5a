// Workers: one process for each run, several at a time.
#ifndef TESTS_SWEEP_WORKER_H
#define TESTS_SWEEP_WORKER_H

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tests/sweep/facts.h"
#include "tests/sweep/fault.h"

namespace sweep {

struct Run {
    Fault fault;
    Facts facts;
    bool hung = false;
    std::string crash;  ///< how the worker ended when it did not end by itself
};

class Workers {
public:
    Workers(unsigned parallel, std::chrono::seconds limit);

    /// Runs every fault in a fork of this process, which must have one thread
    /// only, and hands each result over as it comes. A worker that exceeds the
    /// limit is killed.
    void RunAll(const std::vector<Fault>& faults, const std::function<void(const Run&)>& done);

private:
    struct Worker {
        pid_t process;
        std::chrono::steady_clock::time_point deadline;
        int facts;
        int log;
        Fault fault;
        bool killed;
    };

    Worker Start(const Fault& fault) const;
    static Run Collect(const Worker& worker, int status);

    const unsigned m_parallel;
    const std::chrono::seconds m_limit;
};

}  // namespace sweep

#endif
