#include "tests/sweep/judge.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <set>

#include "tests/sweep/expectations.h"

namespace sweep {
namespace {

int Count(const std::string& text, const std::string& part)
{
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos;
         at = text.find(part, at + part.size()))
        ++count;
    return count;
}

std::string Filled(std::string text, int code)
{
    char hex[16];
    char lower[16];
    std::snprintf(hex, sizeof hex, "%X", static_cast<unsigned>(code));
    std::snprintf(lower, sizeof lower, "%x", static_cast<unsigned>(code));
    const std::pair<const char*, std::string> values[] = {
        {"{code}", std::to_string(code)}, {"{hex}", hex}, {"{lower}", lower}};
    for (const auto& [name, value] : values) {
        const std::size_t at = text.find(name);
        if (at != std::string::npos)
            text.replace(at, std::strlen(name), value);
    }
    return text;
}

/// Once something has told that the camera is gone the driver looks for it just
/// before it selects a setting. A camera that leaves between the two is not to be
/// caught by looking.
bool IsUnavoidable(const std::string& misuse, const Run& run)
{
    static const std::set<std::string> kBetween = {
        "free_device_list", "set_interface_alt_setting"};
    return run.fault.kind == Kind::kUnplug && kBetween.count(run.fault.call) != 0 &&
           misuse == "libusb_set_interface_alt_setting: the device has gone";
}

/// What went wrong in any run, whatever was expected.
Verdict Basic(const Run& run)
{
    Verdict verdict;
    verdict.hung = run.hung;
    verdict.crashed = !run.crash.empty();
    if (!run.hung && !verdict.crashed && !run.facts.complete)
        verdict.wrong.push_back("the worker told nothing");
    for (const std::string& line : run.facts.misuse) {
        if (!IsUnavoidable(line, run))
            verdict.wrong.push_back("misuse of libusb: " + line);
    }
    // Fewer than before: one from before the scenario was on its way out.
    if (run.facts.threads_left > 0)
        verdict.leaks.push_back(std::to_string(run.facts.threads_left) + " threads left");
    if (run.facts.files_left != 0)
        verdict.leaks.push_back(std::to_string(run.facts.files_left) + " files left");
    if (run.facts.memory_left)
        verdict.leaks.push_back("memory left");
    return verdict;
}

void CheckResults(const Facts& facts, const Facts& undisturbed, const Outcome& expected,
                  Verdict& verdict)
{
    if (expected.results_are_open)
        return;
    std::map<std::string, long> wanted = undisturbed.results;
    for (const auto& [name, value] : expected.results)
        wanted[name] = value;
    for (const auto& [name, value] : wanted) {
        if (expected.open_results.count(name) != 0)
            continue;
        const auto found = facts.results.find(name);
        if (found == facts.results.end()) {
            if (!expected.cut_short)
                verdict.wrong.push_back("\"" + name + "\" was not reached");
        } else if (found->second != value) {
            verdict.wrong.push_back("\"" + name + "\" is " + std::to_string(found->second) +
                                    ", not " + std::to_string(value));
        }
    }
    for (const auto& [name, value] : facts.results) {
        if (wanted.count(name) == 0 && expected.open_results.count(name) == 0)
            verdict.wrong.push_back("unexpected \"" + name + "\" = " + std::to_string(value));
    }
}

/// A machine that stands still for a while makes a transfer run into its limit,
/// or the ring full at the moment of a stop.
bool MayComeByItself(const std::string& text)
{
    return text == "LIBUSB_TRANSFER_TIMED_OUT! EP = " || text == "Frame Buffer for writing is NULL";
}

void CheckLog(const Run& run, const Facts& undisturbed, const Outcome& expected, Verdict& verdict)
{
    if (expected.log_is_open)
        return;
    for (const std::string& text : FailureTexts()) {
        if (expected.open_lines.count(text) != 0)
            continue;
        const auto more = expected.more_lines.find(text);
        const int wanted = Count(undisturbed.log, text) +
                           (more != expected.more_lines.end() ? more->second : 0);
        const int found = Count(run.facts.log, text);
        if (found != wanted && !(found > wanted && MayComeByItself(text)))
            verdict.wrong.push_back("\"" + text + "\" " + std::to_string(found) + " times, not " +
                                    std::to_string(wanted));
    }
    if (expected.exact_line.empty())
        return;
    const std::string line = Filled(expected.exact_line, run.fault.code);
    if (Count(run.facts.log, line) != Count(undisturbed.log, line) + 1)
        verdict.wrong.push_back("no line \"" + line + "\"");
}

}  // namespace

std::string Verdict::Describe(const Run& run) const
{
    const Occurrence& where = run.facts.where;
    std::string text = run.fault.ToString() + " [" + where.step + "] " + where.label + " #" +
                       std::to_string(where.nth_of_label) + ":";
    if (Good())
        text += not_reached ? " not reached" : " as expected";
    if (crashed)
        text += " CRASH (" + run.crash + ")";
    if (hung)
        text += " HANG";
    for (const std::string& leak : leaks)
        text += "\n    leak: " + leak;
    for (const std::string& line : wrong)
        text += "\n    wrong: " + line;
    if (crashed || hung) {
        const std::size_t tail = 1500;
        const std::string& log = run.facts.log;
        text += "\n" + log.substr(log.size() - std::min(tail, log.size()));
    }
    return text;
}

Verdict Judge(const Run& run, const Facts& undisturbed)
{
    Verdict verdict = Basic(run);
    if (verdict.hung || verdict.crashed || !run.facts.complete)
        return verdict;
    Outcome expected;
    if (run.facts.injected) {
        const std::optional<Outcome> found = ExpectedOutcome(run.fault, run.facts.where);
        if (!found) {
            verdict.wrong.push_back("nothing is known about this call");
            return verdict;
        }
        expected = *found;
    } else {
        verdict.not_reached = true;
    }

    const std::string statuses =
        expected.statuses.empty() ? undisturbed.statuses : expected.statuses;
    if (run.facts.statuses != statuses)
        verdict.wrong.push_back("the host was told " + run.facts.statuses + ", not " + statuses);
    std::string open = undisturbed.open;
    for (const Leak& leak : Leaks()) {
        if (expected.leaves != nullptr && std::strcmp(leak.name, expected.leaves) == 0)
            open = leak.counters;
    }
    if (run.facts.open != open)
        verdict.leaks.push_back("open: " + run.facts.open + "; expected: " + open);
    CheckResults(run.facts, undisturbed, expected, verdict);
    CheckLog(run, undisturbed, expected, verdict);
    return verdict;
}

Verdict JudgeUndisturbed(const Run& run)
{
    Verdict verdict = Basic(run);
    if (run.facts.statuses.find('0') != std::string::npos)
        verdict.wrong.push_back("the host was told " + run.facts.statuses);
    for (const auto& [name, value] : run.facts.results) {
        const bool number = name == "download" || name.find(" value") != std::string::npos;
        // A signal type set while nothing is recorded is kept, but refused.
        const bool refused = name == "signal type";
        if (number ? (name == "download" && value != 0) : value != (refused ? 0 : 1))
            verdict.wrong.push_back("\"" + name + "\" is " + std::to_string(value));
    }
    return verdict;
}

}  // namespace sweep
