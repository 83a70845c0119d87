// Times the workloads.  All are set up before the first one runs, always in the same order, so that
// the order of the runs does not change how the records lie in memory.

#include <benchmark/benchmark.h>

#include "workloads.h"

int main(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  add_all_workloads();
  for (const Workload &workload : workloads()) {
    auto *const timed =
        benchmark::RegisterBenchmark(workload.name.c_str(), workload.set_up().timed);
    if (workload.threads > 1) timed->Threads(workload.threads)->UseRealTime();
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
