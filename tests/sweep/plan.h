// From the calls of an undisturbed run to the list of faults.
#ifndef TESTS_SWEEP_PLAN_H
#define TESTS_SWEEP_PLAN_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "tests/sweep/facts.h"
#include "tests/sweep/fault.h"

namespace sweep {

/// Of calls made for the same end over and over (blocks of an image, resubmitted
/// transfers, event passes) only the first are disturbed one by one, later
/// ones in strides.
struct Bounds {
    std::size_t each = 40;
    std::size_t stride = 40;
    std::size_t each_aside = 3;  ///< streaming that merely goes on during something else
};

struct Plan {
    std::vector<Fault> faults;
    std::map<std::string, std::size_t> occurrences;  ///< disturbed, by call
    std::size_t skipped = 0;                         ///< occurrences left out by the bound
};

/// Faults for one phase of a scenario.
Plan MakePlan(const std::string& scenario, const std::string& phase, const Facts& undisturbed,
              const Bounds& bounds);

}  // namespace sweep

#endif
