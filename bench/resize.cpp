// Grows a full block by one id, and shrinks it again.

#include <string.h>

#include "subjects.h"
#include "workloads.h"

namespace {

constexpr uint32_t kIds = 5000;

// The floor of a resize.  A block's slots are one array of exactly its size, so the floor takes the
// locks, allocates a zero-filled array, copies the slots and frees the old array.
class InlineArray {
 public:
  InlineArray() : slots_(allocate(kIds)) { memset(slots_, 1, kIds * sizeof(*slots_)); }
  InlineArray(const InlineArray &) = delete;
  InlineArray &operator=(const InlineArray &) = delete;
  ~InlineArray() { free(slots_); }

  void *grow_and_shrink() {
    resize(kIds + 1, 1);
    resize(kIds, 2);  // deregistration checks the lock too
    return slots_;
  }

 private:
  void resize(uint32_t count, int assertions) {
    const WriteLockFloor writing(lock_);
    for (int i = 0; i < assertions; ++i) writing.assert_held();
    void **slots = allocate(count);
    memcpy(slots, slots_, kIds * sizeof(*slots));
    free(slots_);
    slots_ = slots;
  }
  static void **allocate(uint32_t count) {
    return static_cast<void **>(calloc(count, sizeof(void *)));
  }

  pthread_rwlock_t lock_ = PTHREAD_RWLOCK_INITIALIZER;
  void **slots_;
};

}  // namespace

void add_resize_workloads() {
  add_workload("resize_5000/library", [] {
    const auto library = std::make_shared<Library>(TTY_DB_OPT_LOCK_ENTRIES);
    tty_db_block_type *const block = library->reserve(0, 0, kIds);
    for (uint16_t id = 0; id < kIds; ++id) library->add({0, id});
    const auto grow_and_shrink = [library, block](size_t) {
      return tty_db_block_resize(library->handle(), block, 0, kIds + 1, 0) == 0 &&
             tty_db_block_resize(library->handle(), block, 0, kIds, 0) == 0;
    };
    require(grow_and_shrink(0), "resize");
    return grow_and_shrink;
  });
  add_workload("resize_5000/floor", [] {
    const auto array = std::make_shared<InlineArray>();
    return [array](size_t) { return array->grow_and_shrink(); };
  });
}
