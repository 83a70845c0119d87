// Runs workloads under callgrind, which counts their instructions: `ttydb_cost CALLS WORKLOAD...`.
//
// Each workload runs CALLS calls, then twice as many, and dumps its counts after each run.  Their
// difference is the count for CALLS calls, without the overhead of a run.

#include <stdlib.h>
#include <valgrind/callgrind.h>

#include <algorithm>

#include "lines.h"
#include "workloads.h"

namespace {

void count(const std::string &name, const Loops &loops, size_t calls) {
  CALLGRIND_START_INSTRUMENTATION;
  loops.counted(calls);  // warms up: symbols are bound, the heap has grown
  for (const size_t times : {1, 2}) {
    const std::string dump = name + " " + std::to_string(times);
    CALLGRIND_ZERO_STATS;
    loops.counted(calls * times);
    CALLGRIND_DUMP_STATS_AT(dump.c_str());
  }
  CALLGRIND_STOP_INSTRUMENTATION;
}

}  // namespace

int main(int argc, char **argv) {
  require(argc >= 2, "usage: ttydb_cost CALLS WORKLOAD...");
  add_all_workloads();
  for (int i = 2; i < argc; ++i) {
    const auto workload =
        std::find_if(workloads().begin(), workloads().end(),
                     [&](const Workload &known) { return known.name == argv[i]; });
    require(workload != workloads().end(), argv[i]);
    count(workload->name, workload->set_up(), strtoul(argv[1], nullptr, 10));
  }
  return 0;
}
