// The library with its trace gate closed against the library without trace points.
//
// Both are opened at run time, the same way, and called through pointers.  They take turns within
// one benchmark, so that whatever slows the machine down meets both, and the figures of a run are
// the medians over its turns.  Every run sets up its databases anew, alternately the one and the
// other first: neither has the better place in memory every time.

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <string>

#include "subjects.h"
#include "works.h"

namespace {

using Opened = LibraryOf<OpenedCalls>;

std::unique_ptr<Opened> set_up(const char *path, uint32_t options, const std::vector<Line> &lines) {
  auto subject = std::make_unique<Opened>(options, OpenedCalls(path));
  if ((options & TTY_DB_OPT_AUTO_BLOCKS) == 0) subject->reserve(0, 0, 100);
  for (const Line line : lines) subject->add(line);
  return subject;
}

constexpr int kCallsPerTurn = 1024;

template <typename Step>
double nanoseconds_per_call(Step &&step) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  for (int i = 0; i < kCallsPerTurn; ++i) step();
  return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / kCallsPerTurn;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// Registers a benchmark of both.  `make_step(subject)` makes what is done again and again.
template <typename MakeStep>
void add_pair(const std::string &work, uint32_t options, const std::vector<Line> &lines,
              MakeStep make_step) {
  const auto run = [options, lines, make_step](benchmark::State &state) {
    static bool gate_first = false;
    gate_first = !gate_first;
    std::unique_ptr<Opened> gate;
    if (gate_first) gate = set_up(LIBRARY_WITH_TRACE_POINTS, options, lines);
    const auto none = set_up(LIBRARY_WITHOUT_TRACE_POINTS, options, lines);
    if (!gate_first) gate = set_up(LIBRARY_WITH_TRACE_POINTS, options, lines);

    auto gate_step = make_step(*gate);
    auto none_step = make_step(*none);
    std::vector<double> gate_times;
    std::vector<double> none_times;
    std::vector<double> ratios;
    for (auto _ : state) {
      if (ratios.size() % 2 == 0) gate_times.push_back(nanoseconds_per_call(gate_step));
      none_times.push_back(nanoseconds_per_call(none_step));
      if (ratios.size() % 2 != 0) gate_times.push_back(nanoseconds_per_call(gate_step));
      ratios.push_back(gate_times.back() / none_times.back());
    }
    state.counters["closed_gate"] = median(gate_times);
    state.counters["no_trace_points"] = median(none_times);
    state.counters["ratio"] = median(ratios);
  };
  benchmark::RegisterBenchmark((work + "/both").c_str(), run);
}

void add_retrieve(const std::string &work, uint32_t count) {
  const auto lines = first_lines(count);
  const auto random = std::make_shared<Cycle<Line>>(Cycle<Line>::draws(lines));
  add_pair(work, TTY_DB_OPT_ALL, lines, [random](Opened &subject) {
    return [random, &subject, step = size_t{0}]() mutable {
      benchmark::DoNotOptimize(subject.use((*random)[step++]));
    };
  });
}

}  // namespace

void add_trace_gate_works() {
  add_retrieve("gate_retrieve_hot", 1);
  add_retrieve("gate_retrieve_random_10k", 10000);

  add_pair("gate_register_standing", 0, {}, [](Opened &subject) {
    return [&subject] { benchmark::DoNotOptimize(subject.add_and_remove({0, 50})); };
  });

  add_pair("gate_item_get_8", TTY_DB_OPT_ALL, {{0, 0}}, [](Opened &subject) {
    tty_db_tty_type *const tty = subject.use({0, 0});
    for (uint32_t key = 0; key < 8; ++key) {
      void *item = nullptr;
      require(subject.calls().item_create(tty, key, 32, &item) == 0, "item_create");
    }
    return [&subject, tty, step = uint32_t{0}]() mutable {
      void *item = nullptr;
      subject.calls().item_get(tty, step++ % 8, &item);
      benchmark::DoNotOptimize(item);
    };
  });
}
