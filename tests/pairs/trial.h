// One run of a row with the gate at one step, in a process of its own.
#ifndef TESTS_PAIRS_TRIAL_H
#define TESTS_PAIRS_TRIAL_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tests/pairs/row.h"

namespace pairs {

/// Longer than anything takes that ends at all.
constexpr std::chrono::seconds kTrialLimit{PAIRS_LIMIT};

struct Trial {
    const Row* row = nullptr;
    std::size_t step = 0;  ///< 0: nobody is held and nothing else runs; the steps are counted
    std::chrono::seconds limit = kTrialLimit;
    bool never_open = false;  ///< the gate stays closed, and the trial hangs
};

struct Verdict {
    Trial trial;
    std::size_t steps = 0;             ///< that the held thing took
    bool held = false;                 ///< it came to the step
    std::string where;                 ///< of the gate
    std::vector<std::string> failures; ///< none: as it should be
    std::string stacks;                ///< where it crashed, or where all threads hung
    std::string log;                   ///< end of the driver's
};

/// As many at a time as `parallel`. From a process without threads.
std::vector<Verdict> RunTrials(const std::vector<Trial>& trials, unsigned parallel);
Verdict RunTrial(const Trial& trial);

}  // namespace pairs

#endif
