// Retrieves a line and unlocks it.

#include "subjects.h"
#include "workloads.h"

namespace {

template <typename Subject>
auto with_lines(const std::vector<Line> &lines) {
  return shared([lines] {
    auto subject = std::make_shared<Subject>();
    for (const Line line : lines) subject->add(line);
    for (const Line line : lines) {
      require(subject->use(Subject::key(line)) != nullptr, "retrieve");
    }
    return subject;
  });
}

// Adds a workload that uses the lines of a cycle in turn.
template <typename Make>
void add_use(const std::string &name, Make make, const Cycle<Line> &lines, int threads = 1) {
  const auto set_up = [make, lines] {
    const auto subject = make();
    using Subject = typename decltype(make())::element_type;
    return [subject, keys = lines.convert(Subject::key)](size_t call) {
      return subject->use(keys[call]);
    };
  };
  add_workload(name, set_up, threads);
}

template <typename Subject>
void add_miss(const std::string &name, const std::vector<Line> &present,
              const Cycle<Line> &absent) {
  add_workload(name, [present, absent] {
    auto subject = std::make_shared<Subject>();
    // The floor takes the lock and looks at no record.
    if constexpr (!std::is_same_v<Subject, Floor>) {
      for (const Line line : present) subject->add(line);
    }
    const auto keys = absent.convert(Subject::key);
    require(subject->miss(keys[0]), "miss");
    return [subject, keys](size_t call) { return subject->miss(keys[call]); };
  });
}

template <typename Subject>
void add_workloads_of(const std::string &name) {
  const auto one = first_lines(1);
  add_use("retrieve_hot/" + name, with_lines<Subject>(one), Cycle<Line>::draws(one));

  // For the plot: full blocks of ten ids.
  for (const uint32_t blocks : {1u, 3u, 10u, 30u, 100u, 300u, 1000u}) {
    const auto lines = first_lines(blocks * TTY_DB_AUTO_BLOCK_SIZE);
    add_use("retrieve_blocks_" + std::to_string(blocks) + "/" + name, with_lines<Subject>(lines),
            Cycle<Line>::draws(lines));
  }

  const auto thousand_blocks = first_lines(10000);
  const auto random = Cycle<Line>::draws(thousand_blocks);
  const auto subject = with_lines<Subject>(thousand_blocks);
  add_use("retrieve_random_10k/" + name, subject, random);
  add_use("retrieve_two_threads/" + name, subject, random, 2);
  if constexpr (std::is_same_v<Subject, Library>) {
    add_use("retrieve_first_block/" + name, subject, Cycle<Line>::draws({{0, 5}}));
    add_use("retrieve_last_block/" + name, subject, Cycle<Line>::draws({{0, 9995}}));
  }

  const auto six_categories = first_lines(60000);
  add_use("retrieve_random_60k/" + name, with_lines<Subject>(six_categories),
          Cycle<Line>::draws(six_categories));

  // Every tenth id is registered: every block exists.
  std::vector<Line> present;
  std::vector<Line> absent;
  for (const Line line : first_lines(10000)) {
    (line.id % TTY_DB_AUTO_BLOCK_SIZE == 0 ? present : absent).push_back(line);
  }
  add_miss<Subject>("retrieve_miss/" + name, present, Cycle<Line>::draws(absent));
}

}  // namespace

void add_retrieve_workloads() {
  add_workloads_of<Library>("library");
  add_workloads_of<Floor>("floor");
  add_workloads_of<StdMap>("std_map");
  add_workloads_of<StdUnorderedMap>("std_unordered_map");
  add_workloads_of<ConcurrentHashMap>("tbb_hash_map");
}
