// The workloads: steps that a subject repeats, each under the name "workload/subject".
//
// A program sets a workload up and repeats its step, which takes the number of the call.  One loop
// is timed, the other counts instructions.

#ifndef TTY_DB_BENCH_WORKLOADS_H
#define TTY_DB_BENCH_WORKLOADS_H

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct Loops {
  std::function<void(benchmark::State &)> timed;
  std::function<void(size_t)> counted;
};

struct Workload {
  std::string name;
  std::function<Loops()> set_up;
  int threads;
};

// All workloads, in the order in which they were added.
inline std::vector<Workload> &workloads() {
  static std::vector<Workload> all;
  return all;
}

// Threads start this many calls apart.
constexpr size_t kThreadDistance = 5003;

// Adds a workload; `set_up()` returns its step.
template <typename SetUp>
void add_workload(const std::string &name, SetUp set_up, int threads = 1) {
  const auto loops = [set_up] {
    const auto step = set_up();
    return Loops{[step](benchmark::State &state) {
                   size_t call = kThreadDistance * static_cast<size_t>(state.thread_index());
                   for (auto _ : state) benchmark::DoNotOptimize(step(call++));
                 },
                 [step](size_t calls) {
                   for (size_t call = 0; call < calls; ++call) {
                     benchmark::DoNotOptimize(step(call));
                   }
                 }};
  };
  workloads().push_back({name, loops, threads});
}

// A subject that several workloads share.  The first use makes it.
template <typename Make>
auto shared(Make make) {
  using T = decltype(make());
  const auto made = std::make_shared<T>();
  return [made, make]() -> T {
    if (*made == nullptr) *made = make();
    return *made;
  };
}

void add_retrieve_workloads();
void add_register_workloads();
void add_iterate_workloads();
void add_item_workloads();
void add_resize_workloads();
void add_database_workloads();

inline void add_all_workloads() {
  add_retrieve_workloads();
  add_register_workloads();
  add_iterate_workloads();
  add_item_workloads();
  add_resize_workloads();
  add_database_workloads();
}

#endif  // TTY_DB_BENCH_WORKLOADS_H
