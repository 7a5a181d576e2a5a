// Lines of figures, and the clocks behind them.
#ifndef TORVIK_BENCH_REPORT_H
#define TORVIK_BENCH_REPORT_H

#include <string>

namespace bench {

double WallSeconds();
double ProcessCpuSeconds();
double ThreadCpuSeconds();

void Heading(const std::string& text);
/// One figure, with what it should stay under or above where there is a goal.
void Figure(const std::string& name, double value, const std::string& unit,
            const std::string& goal = {});

/// Median of an odd number of runs of `measure`.
template <typename Measure>
double Median(Measure measure);

}  // namespace bench

#include <algorithm>
#include <array>

template <typename Measure>
double bench::Median(Measure measure)
{
    std::array<double, 5> runs;
    for (double& run : runs)
        run = measure();
    std::sort(runs.begin(), runs.end());
    return runs[runs.size() / 2];
}

#endif
