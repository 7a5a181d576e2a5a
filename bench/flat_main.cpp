#include <cstdlib>

#include "bench/benches.h"

// bench_flat [SECONDS of recording]
int main(int argc, char** argv)
{
    bench::ReassemblyBench();
    bench::LoggingBench();
    bench::PropertiesBench();
    bench::RecordingBench(argc > 1 ? std::atof(argv[1]) : 10.0);
    return 0;
}
