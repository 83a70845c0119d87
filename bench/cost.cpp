// Runs works for valgrind's callgrind to count their instructions: `ttydb_cost CALLS WORK...`.
//
// Each work is run twice, with CALLS and with twice as many calls, and its counts are dumped after
// each; the difference is that of CALLS calls, to the instruction.  Nothing is counted while a work
// is set up.

#include <stdlib.h>
#include <valgrind/callgrind.h>

#include <algorithm>

#include "lines.h"
#include "works.h"

namespace {

void count(const std::string &name, const Loops &loops, size_t calls) {
  CALLGRIND_START_INSTRUMENTATION;
  loops.counted(calls);  // whatever the first calls do besides, in the library and in the caches
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
  require(argc >= 2, "usage: ttydb_cost CALLS WORK...");
  add_all_works();
  for (int i = 2; i < argc; ++i) {
    const auto work = std::find_if(works().begin(), works().end(),
                                   [&](const Work &known) { return known.name == argv[i]; });
    require(work != works().end(), argv[i]);
    count(work->name, work->set_up(), strtoul(argv[1], nullptr, 10));
  }
  return 0;
}
