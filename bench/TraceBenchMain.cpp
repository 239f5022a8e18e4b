// The main of vircam_trace_bench, the benchmark binary that runs on a phone.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
