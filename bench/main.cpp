// The benchmarks.  Everything is set up before the first one runs, in the same order every time:
// what a subject's records have for neighbours does not depend on which benchmark runs first.

#include <benchmark/benchmark.h>

#include "works.h"

int main(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  add_all_works();
  for (const Work &work : works()) {
    auto *const timed = benchmark::RegisterBenchmark(work.name.c_str(), work.set_up().timed);
    if (work.threads > 1) timed->Threads(work.threads)->UseRealTime();
  }
  add_trace_gate_works();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
