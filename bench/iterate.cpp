// Advances an iterator.  A pass over all lines includes the iterator's start and end, and the
// advance that finds no further line.

#include "subjects.h"
#include "workloads.h"

namespace {

class Pass {
 public:
  explicit Pass(std::shared_ptr<Library> library) : library_(std::move(library)) { start(); }
  Pass(const Pass &) = delete;
  Pass &operator=(const Pass &) = delete;
  ~Pass() { tty_db_iterate_end(iterator_); }

  // Returns false at the end of a pass, and starts the next pass.
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
    require(tty_db_iterate_start(library_->handle(), 0, 0, TTY_CATEGORY_MAX, TTY_PORT_MAX,
                                 &iterator_) == 0,
            "iterate_start");
  }

  std::shared_ptr<Library> library_;
  tty_db_iterator_type *iterator_ = nullptr;
};

// Adds passes over the lines that `make` registers, and their floor.
template <typename Make>
void add_pass(const std::string &workload, uint32_t lines, Make make) {
  add_workload(workload + "/library", [lines, make] {
    const auto pass = std::make_shared<Pass>(make());
    uint32_t found = 0;
    while (pass->advance()) ++found;
    require(found == lines, "iteration finds every line");
    return [pass](size_t) { return pass->advance(); };
  });
  add_workload(workload + "/floor", [] {
    const auto floor = std::make_shared<Floor>();
    return [floor](size_t) { return floor->miss(0); };
  });
}

}  // namespace

void add_iterate_workloads() {
  add_pass("iterate_dense", 60000, [] {
    auto library = std::make_shared<Library>();
    for (const Line line : first_lines(60000)) library->add(line);
    return library;
  });
  add_pass("iterate_sparse", 6, [] {
    auto library = std::make_shared<Library>(TTY_DB_OPT_LOCK_ENTRIES);
    for (uint16_t category = 0; category <= TTY_CATEGORY_MAX; ++category) {
      library->reserve(category, 0, TTY_PORT_MAX + 1);
      library->add({category, 5000});
    }
    return library;
  });
  add_workload("iterate_dense/std_map", [] {
    const auto map = std::make_shared<StdMap>();
    for (const Line line : first_lines(60000)) map->add(line);
    return [map, next = std::make_shared<StdMap::Key>(0)](size_t) {
      if (!map->next(*next)) *next = 0;
      return *next;
    };
  });
}
