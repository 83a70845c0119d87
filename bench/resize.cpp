// Resizing a full block: by one id up, and by one id down again.

#include <benchmark/benchmark.h>
#include <string.h>

#include <memory>

#include "subjects.h"
#include "works.h"

namespace {

constexpr uint32_t kIds = 5000;

// What a resize cannot do without, as long as a block's slots are one array of its exact size: a
// zero-filled array, the copy, and the end of the old one.
class InlineArray {
 public:
  InlineArray() : slots_(allocate(kIds)) { memset(slots_, 1, kIds * sizeof(*slots_)); }
  InlineArray(const InlineArray &) = delete;
  InlineArray &operator=(const InlineArray &) = delete;
  ~InlineArray() { free(slots_); }

  void resize(uint32_t count) {
    void **slots = allocate(count);
    memcpy(slots, slots_, kIds * sizeof(*slots));
    free(slots_);
    slots_ = slots;
  }

 private:
  static void **allocate(uint32_t count) {
    return static_cast<void **>(calloc(count, sizeof(void *)));
  }
  void **slots_;
};

}  // namespace

void add_resize_works() {
  const auto library = std::make_shared<Library>(TTY_DB_OPT_LOCK_ENTRIES);
  tty_db_block_type *const block = library->reserve(0, 0, kIds);
  for (uint16_t id = 0; id < kIds; ++id) library->add({0, id});
  const auto grow_and_shrink = [library, block] {
    return tty_db_block_resize(library->handle(), block, 0, kIds + 1, 0) == 0 &&
           tty_db_block_resize(library->handle(), block, 0, kIds, 0) == 0;
  };
  require(grow_and_shrink(), "resize");
  benchmark::RegisterBenchmark("resize_5000/library", [grow_and_shrink](benchmark::State &state) {
    for (auto _ : state) benchmark::DoNotOptimize(grow_and_shrink());
  });

  const auto array = std::make_shared<InlineArray>();
  benchmark::RegisterBenchmark("resize_5000/floor", [array](benchmark::State &state) {
    for (auto _ : state) {
      array->resize(kIds + 1);
      benchmark::ClobberMemory();
      array->resize(kIds);
      benchmark::ClobberMemory();
    }
  });
}
