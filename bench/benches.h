// What bench_flat measures, one function a file.
#ifndef TORVIK_BENCH_BENCHES_H
#define TORVIK_BENCH_BENCHES_H

namespace bench {

void ReassemblyBench();
void RecordingBench(double seconds);
void LoggingBench();
void PropertiesBench();

}  // namespace bench

#endif
