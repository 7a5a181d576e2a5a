// What a failing call is to bring about.
#ifndef TESTS_SWEEP_EXPECTATIONS_H
#define TESTS_SWEEP_EXPECTATIONS_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/sweep/facts.h"
#include "tests/sweep/fault.h"

namespace sweep {

/// Texts that report a failure. A run prints each of them as often as the
/// undisturbed one, but for what its outcome says.
const std::vector<std::string>& FailureTexts();

struct Outcome {
    std::string statuses;  ///< "" : as undisturbed
    std::map<std::string, long> results;       ///< others are as undisturbed
    std::set<std::string> open_results;        ///< may be anything
    bool results_are_open = false;             ///< all of them
    bool cut_short = false;                    ///< later results may be missing
    bool log_is_open = false;                  ///< depends on when other threads notice
    std::map<std::string, int> more_lines;     ///< of FailureTexts, beyond the undisturbed ones
    std::set<std::string> open_lines;          ///< of FailureTexts, may come or not
    std::string exact_line;                    ///< appears once more, {code}, {hex} and {lower} filled in
    const char* leaves = nullptr;              ///< name of a row of Leaks()
};

/// What stays open on purpose.
struct Leak {
    const char* name;
    const char* counters;
    const char* reason;
};
const std::vector<Leak>& Leaks();

/// None when no row fits, which is a hole in the table.
std::optional<Outcome> ExpectedOutcome(const Fault& fault, const Occurrence& where);

}  // namespace sweep

#endif
