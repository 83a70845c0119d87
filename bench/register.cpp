// Registers a line and deregisters it again.

#include "subjects.h"
#include "workloads.h"

namespace {

// Adds a workload on one line of the subject that `make` returns.
template <typename Make>
void add_pair(const std::string &name, Line line, Make make) {
  add_workload(name, [line, make] {
    const auto subject = make();
    const auto key = subject->key(line);
    require(subject->add_and_remove(key), "register and deregister");
    return [subject, key](size_t) { return subject->add_and_remove(key); };
  });
}

// Registering the line creates its automatic block, the 1,001st of the category.
template <typename Subject>
void add_among_blocks(const std::string &name, Line line) {
  add_pair(name, line, [line] {
    auto subject = std::make_shared<Subject>();
    for (uint16_t id = 0; id <= TTY_PORT_MAX; id += TTY_DB_AUTO_BLOCK_SIZE) {
      if (id != line.id) subject->add({0, id});
    }
    if constexpr (std::is_same_v<Subject, Library>) {
      require(subject->num_blocks() == 1000, "1,000 blocks");
    }
    return subject;
  });
}

template <typename Subject>
void add_workloads_of(const std::string &name) {
  add_pair("register_empty/" + name, {0, 5000}, [] { return std::make_shared<Subject>(); });
  add_among_blocks<Subject>("register_1000_blocks/" + name, {0, 5000});
}

// The library with a reserved block.
auto with_block(uint32_t options) {
  return [options] {
    auto library = std::make_shared<Library>(options);
    library->reserve(0, 0, 100);
    return library;
  };
}

auto floor_of(uint32_t options) {
  return [options] { return std::make_shared<Floor>(options); };
}

}  // namespace

void add_register_workloads() {
  const Line line{0, 50};
  add_workloads_of<Library>("library");
  add_among_blocks<Library>("register_1000_blocks_first/library", {0, 0});
  add_among_blocks<Library>("register_1000_blocks_last/library", {0, 10000});
  add_workloads_of<StdMap>("std_map");
  add_workloads_of<StdUnorderedMap>("std_unordered_map");
  add_workloads_of<ConcurrentHashMap>("tbb_hash_map");
  add_pair("register_empty/floor", line, floor_of(TTY_DB_OPT_ALL));

  add_pair("register_standing/library", line, with_block(0));
  add_pair("register_standing/floor", line, floor_of(0));
  add_pair("register_standing_locked/library", line, with_block(TTY_DB_OPT_LOCK_ENTRIES));
  add_pair("register_standing_locked/floor", line, floor_of(TTY_DB_OPT_LOCK_ENTRIES));
  add_workload("register_standing_held/library", [line] {
    const auto library = with_block(TTY_DB_OPT_LOCK_ENTRIES)();
    require(library->add_and_remove_held(line), "deregister a held line");
    return [library, line](size_t) { return library->add_and_remove_held(line); };
  });
}
