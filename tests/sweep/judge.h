// Whether a run came to what is expected of it.
#ifndef TESTS_SWEEP_JUDGE_H
#define TESTS_SWEEP_JUDGE_H

#include <string>
#include <vector>

#include "tests/sweep/facts.h"
#include "tests/sweep/worker.h"

namespace sweep {

struct Verdict {
    bool not_reached = false;  ///< the run had fewer calls than the undisturbed one
    bool crashed = false;
    bool hung = false;
    std::vector<std::string> leaks;
    std::vector<std::string> wrong;

    bool Good() const { return !crashed && !hung && leaks.empty() && wrong.empty(); }
    std::string Describe(const Run& run) const;
};

Verdict Judge(const Run& run, const Facts& undisturbed);
/// The scenario itself has to work.
Verdict JudgeUndisturbed(const Run& run);

}  // namespace sweep

#endif
