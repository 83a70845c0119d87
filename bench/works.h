// The works: what a subject does again and again, under the name "work/subject".
//
// A work is set up when it is about to be run.  Its step takes the number of the call, and is what
// the benchmarks time and what the count of instructions counts, each in a loop around it.

#ifndef TTY_DB_BENCH_WORKS_H
#define TTY_DB_BENCH_WORKS_H

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct Loops {
  std::function<void(benchmark::State &)> timed;
  std::function<void(size_t)> counted;
};

struct Work {
  std::string name;
  std::function<Loops()> set_up;
  int threads;
};

// All works, in the order in which they have been added.
inline std::vector<Work> &works() {
  static std::vector<Work> all;
  return all;
}

// Several threads begin this many calls apart.
constexpr size_t kThreadDistance = 5003;

// Adds a work; `set_up()` returns its step.
template <typename SetUp>
void add_work(const std::string &name, SetUp set_up, int threads = 1) {
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
  works().push_back({name, loops, threads});
}

// Something that several works share, made when it is first wanted.
template <typename Make>
auto shared(Make make) {
  using T = decltype(make());
  const auto made = std::make_shared<T>();
  return [made, make]() -> T {
    if (*made == nullptr) *made = make();
    return *made;
  };
}

// The works, by subject matter.
void add_retrieve_works();
void add_register_works();
void add_iterate_works();
void add_item_works();
void add_resize_works();
void add_database_works();

inline void add_all_works() {
  add_retrieve_works();
  add_register_works();
  add_iterate_works();
  add_item_works();
  add_resize_works();
  add_database_works();
}

// The comparisons of the library with and without trace points, which time themselves.
void add_trace_gate_works();

#endif  // TTY_DB_BENCH_WORKS_H
