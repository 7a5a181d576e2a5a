// The rows of the table of expectations, and short words to write them with.
// The first row that fits counts. Patterns: "" fits everything, "a|b" either,
// "word*" what begins so.
#ifndef TESTS_SWEEP_EXPECTATION_ROWS_H
#define TESTS_SWEEP_EXPECTATION_ROWS_H

#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/sweep/expectations.h"

namespace sweep {

constexpr int kAnyCode = std::numeric_limits<int>::min();

constexpr unsigned Bit(Kind kind)
{
    return 1U << static_cast<unsigned>(kind);
}

constexpr unsigned kFails = Bit(Kind::kCode);
constexpr unsigned kEnds = Bit(Kind::kCompletion);
constexpr unsigned kShorter = Bit(Kind::kShortReply);
constexpr unsigned kUnplugs = Bit(Kind::kUnplug);
constexpr unsigned kNotAnswered = kFails | kShorter;

struct ExpectationRow {
    const char* scenario;
    const char* phase;
    const char* call;
    const char* step;
    const char* label;
    std::size_t nth;  ///< of the label; 0: any
    unsigned kinds;
    int code;
    Outcome outcome;
};

/// Nothing is different, but for what is said next.
class Expect {
public:
    Expect() = default;

    Expect& Told(const char* statuses)
    {
        m_outcome.statuses = statuses;
        return *this;
    }
    Expect& Line(const char* text, int more = 1)
    {
        m_outcome.more_lines[text] += more;
        return *this;
    }
    Expect& MaybeLine(const char* text)
    {
        m_outcome.open_lines.insert(text);
        return *this;
    }
    /// A line with the code in it.
    Expect& Exactly(const char* text)
    {
        m_outcome.exact_line = text;
        return *this;
    }
    Expect& Result(const char* name, long value)
    {
        m_outcome.results[name] = value;
        return *this;
    }
    Expect& Open(const char* name)
    {
        m_outcome.open_results.insert(name);
        return *this;
    }
    Expect& AnyResults()
    {
        m_outcome.results_are_open = true;
        return *this;
    }
    Expect& CutShort()
    {
        m_outcome.cut_short = true;
        return *this;
    }
    Expect& AnyLog()
    {
        m_outcome.log_is_open = true;
        return *this;
    }
    Expect& Leaves(const char* leak)
    {
        m_outcome.leaves = leak;
        return *this;
    }

    operator Outcome() const { return m_outcome; }

private:
    Outcome m_outcome;
};

/// The host is told once that there is no camera, and does nothing with it.
inline Expect NotReady()
{
    return Expect().Told("0").CutShort();
}

/// In order of precedence.
std::vector<const std::vector<ExpectationRow>*> AllExpectations();

const std::vector<ExpectationRow>& UnplugExpectations();
const std::vector<ExpectationRow>& StartUpExpectations();
const std::vector<ExpectationRow>& RecordingExpectations();
const std::vector<ExpectationRow>& PropertyExpectations();
const std::vector<ExpectationRow>& DownloadExpectations();
const std::vector<ExpectationRow>& TransferExpectations();

}  // namespace sweep

#endif
