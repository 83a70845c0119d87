// Advancing an iterator.  A pass over all lines includes its start, its end, and the advance that
// finds no further line.

#include <benchmark/benchmark.h>

#include <memory>

#include "subjects.h"
#include "works.h"

namespace {

class Pass {
 public:
  explicit Pass(const Library &library) : db_(library.handle()) { start(); }
  Pass(const Pass &) = delete;
  Pass &operator=(const Pass &) = delete;
  ~Pass() { tty_db_iterate_end(iterator_); }

  // Returns false at the end of a pass, and begins the next one.
  bool advance() {
    uint32_t category = 0;
    uint32_t id = 0;
    const uint32_t rc = tty_db_iterate_next(iterator_, &category, &id);
    benchmark::DoNotOptimize(id);
    if (__builtin_expect(rc == 0, 1)) return true;
    tty_db_iterate_end(iterator_);
    start();
    return false;
  }

 private:
  void start() {
    require(tty_db_iterate_start(db_, 0, 0, TTY_CATEGORY_MAX, TTY_PORT_MAX, &iterator_) == 0,
            "iterate_start");
  }

  tty_db_type *db_;
  tty_db_iterator_type *iterator_ = nullptr;
};

void add_pass(const char *name, std::shared_ptr<Library> library, uint32_t lines) {
  Pass counted(*library);
  uint32_t found = 0;
  while (counted.advance()) ++found;
  require(found == lines, "iteration finds every line");
  benchmark::RegisterBenchmark(name, [library](benchmark::State &state) {
    Pass pass(*library);
    for (auto _ : state) benchmark::DoNotOptimize(pass.advance());
  });
}

}  // namespace

void add_iterate_works() {
  const auto dense = std::make_shared<Library>();
  const auto map = std::make_shared<StdMap>();
  for (const Line line : first_lines(60000)) {
    dense->add(line);
    map->add(line);
  }
  add_pass("iterate_dense/library", dense, 60000);
  benchmark::RegisterBenchmark("iterate_dense/std_map", [map](benchmark::State &state) {
    StdMap::Key next = 0;
    for (auto _ : state) {
      if (!map->next(next)) next = 0;
      benchmark::DoNotOptimize(next);
    }
  });

  const auto sparse = std::make_shared<Library>(TTY_DB_OPT_LOCK_ENTRIES);
  for (uint16_t category = 0; category <= TTY_CATEGORY_MAX; ++category) {
    sparse->reserve(category, 0, TTY_PORT_MAX + 1);
    sparse->add({category, 5000});
  }
  add_pass("iterate_sparse/library", sparse, 6);

  const auto floor = std::make_shared<Floor>();
  for (const char *name : {"iterate_dense/floor", "iterate_sparse/floor"}) {
    benchmark::RegisterBenchmark(name, [floor](benchmark::State &state) {
      for (auto _ : state) benchmark::DoNotOptimize(floor->miss(0));
    });
  }
}
