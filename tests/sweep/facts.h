// What one run of a scenario came to, as the worker process reports it.
#ifndef TESTS_SWEEP_FACTS_H
#define TESTS_SWEEP_FACTS_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace sweep {

/// A call as it was found: what it was made for, and in which step of the
/// camera's start-up.
struct Occurrence {
    std::string call;
    std::string step;
    std::string label;
    std::size_t nth_of_label = 0;  ///< in its phase, from 1; by step and label
    bool in = false;               ///< a control request that reads
};

struct Facts {
    bool complete = false;  ///< the worker got to its end
    bool injected = false;
    Occurrence where;       ///< of the injected fault

    /// Calls to the host's call-back: '1' ready, '0' not.
    std::string statuses;
    /// Results of operations and values read, by name. What was not reached
    /// is absent.
    std::map<std::string, long> results;

    std::string open;  ///< what libusb still has open, or empty
    std::vector<std::string> misuse;
    long threads_left = 0;
    long files_left = 0;
    bool memory_left = false;  ///< by the leak sanitizer, where there is one

    /// Undisturbed runs: the calls of each phase, by row of the call table.
    std::map<std::string, std::map<std::string, std::vector<Occurrence>>> calls;

    std::string log;  ///< standard output; added by whoever started the worker
};

std::string ToText(const Facts& facts);
/// Throws when the text is none.
Facts FactsFromText(const std::string& text);

}  // namespace sweep

#endif
