#include "tests/sweep/expectations.h"

#include <libusb.h>

#include <cstring>

#include "tests/sweep/expectation_rows.h"

namespace sweep {
namespace {

/// "a|b" fits a and b, "" everything, "word*" what begins so.
bool Fits(const char* pattern, const std::string& text)
{
    if (*pattern == '\0')
        return true;
    for (const char* rest = pattern;;) {
        const char* const end = std::strchr(rest, '|');
        std::string word = end != nullptr ? std::string(rest, end) : std::string(rest);
        const bool open = !word.empty() && word.back() == '*';
        if (open)
            word.pop_back();
        if (open ? text.compare(0, word.size(), word) == 0 : text == word)
            return true;
        if (end == nullptr)
            return false;
        rest = end + 1;
    }
}

bool Fits(const ExpectationRow& row, const Fault& fault, const Occurrence& where)
{
    return (row.kinds & Bit(fault.kind)) != 0 && Fits(row.scenario, fault.scenario) &&
           Fits(row.phase, fault.phase) && Fits(row.call, fault.call) &&
           Fits(row.step, where.step) && Fits(row.label, where.label) &&
           (row.nth == 0 || row.nth == where.nth_of_label) &&
           (row.code == kAnyCode || row.code == fault.code);
}

}  // namespace

const std::vector<Leak>& Leaks()
{
    static const std::vector<Leak> leaks = {
        {"open refused",
         "1 contexts, 0 handles, 0 claimed interfaces, 0 transfers (0 in flight), 0 device "
         "references, 0 device lists, 0 configuration descriptors",
         "a controller that cannot be opened is about to leave the bus; its context is left "
         "alone"},
        {"claim refused",
         "1 contexts, 1 handles, 0 claimed interfaces, 0 transfers (0 in flight), 2 device "
         "references, 1 device lists, 0 configuration descriptors",
         "an opened controller whose interface is taken stays open, with its list and context"},
        {"open refused, twice",
         "2 contexts, 1 handles, 0 claimed interfaces, 0 transfers (0 in flight), 2 device "
         "references, 1 device lists, 0 configuration descriptors",
         "the boot loader without interface 2 is left open by the first attempt, and its context "
         "once more"},
        {"claim refused, twice",
         "2 contexts, 2 handles, 0 claimed interfaces, 0 transfers (0 in flight), 4 device "
         "references, 2 device lists, 0 configuration descriptors",
         "the boot loader without interface 2 is left open by two attempts"},
        {"nothing", "",
         "the boot loader without interface 2 could not even be opened at the first attempt"},
        {"context only",
         "1 contexts, 0 handles, 0 claimed interfaces, 0 transfers (0 in flight), 0 device "
         "references, 0 device lists, 0 configuration descriptors",
         "the boot loader refused to open at the first attempt instead of the claim"},
    };
    return leaks;
}

std::optional<Outcome> ExpectedOutcome(const Fault& fault, const Occurrence& where)
{
    for (const std::vector<ExpectationRow>* rows : AllExpectations()) {
        for (const ExpectationRow& row : *rows) {
            if (Fits(row, fault, where))
                return row.outcome;
        }
    }
    return std::nullopt;
}

}  // namespace sweep
