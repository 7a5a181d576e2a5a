#include "bench/report.h"

#include <cstdio>
#include <time.h>

namespace bench {
namespace {

double Seconds(clockid_t clock)
{
    timespec now;
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace

double WallSeconds()
{
    return Seconds(CLOCK_MONOTONIC);
}

double ProcessCpuSeconds()
{
    return Seconds(CLOCK_PROCESS_CPUTIME_ID);
}

double ThreadCpuSeconds()
{
    return Seconds(CLOCK_THREAD_CPUTIME_ID);
}

void Heading(const std::string& text)
{
    std::fprintf(stderr, "\n%s\n", text.c_str());
}

void Figure(const std::string& name, double value, const std::string& unit,
            const std::string& goal)
{
    std::fprintf(stderr, "  %-58s %12.4g %-8s %s\n", name.c_str(), value, unit.c_str(),
                 goal.empty() ? "" : ("(goal: " + goal + ")").c_str());
}

}  // namespace bench
