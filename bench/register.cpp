// Registering a line and deregistering it again.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "subjects.h"
#include "works.h"

namespace {

template <typename Subject>
void add_pair(const std::string &name, std::shared_ptr<Subject> subject, Line line) {
  const auto key = Subject::key(line);
  require(subject->add_and_remove(key), "register and deregister");
  benchmark::RegisterBenchmark(name.c_str(), [subject, key](benchmark::State &state) {
    for (auto _ : state) benchmark::DoNotOptimize(subject->add_and_remove(key));
  });
}

// A line that is alone in its automatic block, in the place of one block among 1,001.
template <typename Subject>
void add_among_blocks(const std::string &name, Line line) {
  auto subject = std::make_shared<Subject>();
  for (uint16_t id = 0; id <= TTY_PORT_MAX; id += TTY_DB_AUTO_BLOCK_SIZE) {
    if (id != line.id) subject->add({0, id});
  }
  if constexpr (std::is_same_v<Subject, Library>) {
    require(subject->num_blocks() == 1000, "1,000 blocks");
  }
  add_pair(name, subject, line);
}

template <typename Subject>
void add_works_of(const std::string &name) {
  add_pair("register_empty/" + name, std::make_shared<Subject>(), {0, 5000});
  add_among_blocks<Subject>("register_1000_blocks/" + name, {0, 5000});
}

std::shared_ptr<Library> with_block(uint32_t options) {
  auto library = std::make_shared<Library>(options);
  library->reserve(0, 0, 100);
  return library;
}

}  // namespace

void add_register_works() {
  const Line line{0, 50};
  add_works_of<Library>("library");
  add_among_blocks<Library>("register_1000_blocks_first/library", {0, 0});
  add_among_blocks<Library>("register_1000_blocks_last/library", {0, 10000});
  add_works_of<StdMap>("std_map");
  add_works_of<StdUnorderedMap>("std_unordered_map");
  add_works_of<ConcurrentHashMap>("tbb_hash_map");

  add_pair("register_standing/library", with_block(0), line);
  add_pair("register_standing_locked/library", with_block(TTY_DB_OPT_LOCK_ENTRIES), line);
  add_pair("register_standing/floor", std::make_shared<Floor>(), line);

  const auto held = with_block(TTY_DB_OPT_LOCK_ENTRIES);
  require(held->add_and_remove_held(line), "deregister a held line");
  benchmark::RegisterBenchmark("register_standing_held/library",
                               [held, line](benchmark::State &state) {
                                 for (auto _ : state)
                                   benchmark::DoNotOptimize(held->add_and_remove_held(line));
                               });
}
