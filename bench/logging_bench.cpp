// What a filtered log line costs.

#include <atomic>

#include "bench/benches.h"
#include "bench/report.h"
#include "runtime/debug_log.h"

namespace bench {
namespace {

constexpr int kCalls = 20000000;
std::atomic<unsigned> g_other_level{1};
volatile int g_evaluated;

int Expensive()
{
    g_evaluated = g_evaluated + 1;
    return 1;
}

double Filtered()
{
    const double start = ThreadCpuSeconds();
    for (int i = 0; i < kCalls; ++i)
        CAM_LOG(kLogDebugging, "line %d %d\n", i, Expensive());
    return ThreadCpuSeconds() - start;
}

double Comparison()
{
    const double start = ThreadCpuSeconds();
    for (int i = 0; i < kCalls; ++i) {
        if (kLogDebugging <= g_other_level.load(std::memory_order_relaxed))
            g_evaluated = i;
    }
    return ThreadCpuSeconds() - start;
}

}  // namespace

void LoggingBench()
{
    Heading("A filtered log line");
    g_evaluated = 0;
    const double comparison = Median([] { return Comparison(); });
    const double filtered = Median([] { return Filtered(); });
    Figure("one comparison", comparison / kCalls * 1e9, "ns");
    Figure("filtered line", filtered / kCalls * 1e9, "ns");
    Figure("filtered line / one comparison", filtered / comparison, "", "about 1");
    Figure("arguments evaluated", g_evaluated, "", "0");
}

}  // namespace bench
