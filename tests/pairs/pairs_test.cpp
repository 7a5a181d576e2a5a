// Two things at the same time, whichever they are: the one is held at each of
// its steps while the other runs, and then goes on. Both end, in a state and
// with answers that the table allows, and nothing is left behind.
//
//   PAIRS_ALL=1    every step instead of some
//   PAIRS_SEED=N   the same steps as a run that printed this seed
//   PAIRS_STEP=N   this step alone
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/pairs/row.h"
#include "tests/pairs/trial.h"
#include "tests/support/tv_root.h"

namespace pairs {
namespace {

using test_support::TvRoot;

/// Steps tried of each row.
constexpr std::size_t kSample = PAIRS_SAMPLE;
constexpr unsigned kParallel = 2;  // mostly asleep
constexpr std::size_t kFirmwareSize = 4000;

using Pair = std::pair<Name, Name>;  ///< in the order of the enumeration

/// What destroys the object is one thing, whoever waits inside it.
Name Plain(Name name)
{
    return name == kDestroyBehindInit ? kDestroy : name;
}

Pair PairOf(const Row& row)
{
    const Name held = Plain(row.held);
    const Name other = Plain(row.other);
    return {std::min(held, other), std::max(held, other)};
}

std::vector<Pair> AllPairs()
{
    std::vector<Pair> all;
    for (std::size_t i = 0; i < kRowCount; ++i)
        all.push_back(PairOf(kRows[i]));
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

std::string TestName(const testing::TestParamInfo<Pair>& info)
{
    static constexpr const char* kNames[] = {"Init",   "Retry", "Start",   "Stop",
                                             "Restart", "Unplug", "Replug", "Loss",
                                             "Destroy", "Download", "Version"};
    return std::string(kNames[info.param.first]) + "And" + kNames[info.param.second];
}

unsigned long FromEnvironment(const char* name, unsigned long otherwise)
{
    const char* const text = std::getenv(name);
    return text != nullptr ? std::strtoul(text, nullptr, 10) : otherwise;
}

/// One step out of each of as many stretches of equal length; of the last one
/// the last step, when the rest is done and not yet told.
std::vector<std::size_t> Spread(std::size_t steps, std::mt19937& random)
{
    if (const auto only = FromEnvironment("PAIRS_STEP", 0))
        return {only};
    const bool all = steps <= kSample || FromEnvironment("PAIRS_ALL", 0) != 0;
    const std::size_t wanted = all ? steps : kSample;
    std::vector<std::size_t> chosen;
    for (std::size_t i = 0; i < wanted; ++i) {
        const std::size_t first = 1 + i * steps / wanted;
        const std::size_t last = (i + 1) * steps / wanted;
        chosen.push_back(std::uniform_int_distribution<std::size_t>(first, last)(random));
    }
    chosen.back() = steps;
    return chosen;
}

std::string Describe(const Row& row)
{
    return std::string(OperationOf(row.held).name) + " held, " + OperationOf(row.other).name +
           " (" + TextOf(row.from) + ")";
}

std::string Describe(const Verdict& verdict)
{
    std::ostringstream text;
    text << Describe(*verdict.trial.row) << ", step " << verdict.trial.step << " ["
         << verdict.where << "]";
    for (const std::string& failure : verdict.failures)
        text << "\n  " << failure;
    return text.str();
}

class Pairs : public testing::TestWithParam<Pair> {
protected:
    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
        // Dual H.264 with sound.
        TvRoot::Write("/mtd_exe/.info", "xxxxx10");
        TvRoot::Write("/mtd_rwarea/camera_l4", "");
        TvRoot::Write("/mtd_rwarea/wiru/bin/TorvikFW.bin", std::string(kFirmwareSize, 'f'));
    }

    void Try(const Row& row)
    {
        const Verdict alone = RunTrial({&row, 0});
        if (!alone.failures.empty() || alone.steps == 0) {
            ADD_FAILURE() << "alone: " << Describe(alone) << "\n"
                          << alone.stacks << alone.log;
            return;
        }
        std::vector<Trial> trials;
        for (const std::size_t step : Spread(alone.steps, m_random))
            trials.push_back({&row, step});
        const std::vector<Verdict> verdicts = RunTrials(trials, kParallel);
        std::size_t held = 0;
        bool first = true;
        for (const Verdict& verdict : verdicts) {
            held += verdict.held ? 1 : 0;
            if (verdict.failures.empty())
                continue;
            // One of them in full will do for a row.
            ADD_FAILURE() << Describe(verdict) << "\n"
                          << (first ? std::string(row.why) + "\n" + verdict.stacks +
                                          "captured log:\n" + verdict.log
                                    : "");
            first = false;
        }
        // The last steps may be others the next time, and more of them so on a
        // machine that others use; not nearly all.
        EXPECT_GE(held * 4, trials.size()) << Describe(row) << ": rarely held";
        std::printf("%s: %zu of %zu steps\n", Describe(row).c_str(), held, alone.steps);
    }

    const unsigned long m_seed = FromEnvironment("PAIRS_SEED", std::random_device()() % 1000000);
    std::mt19937 m_random{static_cast<unsigned>(m_seed)};
};

TEST_P(Pairs, EndWellTogether)
{
    std::printf("PAIRS_SEED=%lu\n", m_seed);
    for (std::size_t i = 0; i < kRowCount; ++i) {
        if (PairOf(kRows[i]) == GetParam())
            Try(kRows[i]);
    }
}

INSTANTIATE_TEST_SUITE_P(All, Pairs, testing::ValuesIn(AllPairs()), TestName);

}  // namespace
}  // namespace pairs
