// Giving a block a new range of ids.
//
// The order of the steps carries the guarantees: everything that can fail comes before anything
// that cannot be undone, lines are deregistered while the block still describes their ids, and the
// new place in the list is looked up while the block is in no list.

#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "block/directory.h"
#include "block/lookup.h"
#include "block/release.h"
#include "db/lock.h"
#include "frame/checks.h"

namespace {

// The ids from `first` up to, but not including, `end`; none where `end` is not greater.
struct IdRange {
  uint32_t first;
  uint32_t end;
  bool empty() const { return first >= end; }
  uint32_t size() const { return empty() ? 0 : end - first; }
  uint32_t last() const { return end - 1; }
};

IdRange current_range(const tty_db_block_type *block) {
  return {block->details.first_tty, tty_db_block_end(block)};
}

// The ids of `current` that lie below `wanted`, above it, and in it.
IdRange dropped_below(IdRange current, IdRange wanted) {
  return {current.first, std::min(current.end, wanted.first)};
}
IdRange dropped_above(IdRange current, IdRange wanted) {
  return {std::max(current.first, wanted.end), current.end};
}
IdRange kept(IdRange current, IdRange wanted) {
  return {std::max(current.first, wanted.first), std::min(current.end, wanted.end)};
}

// Returns 0, or TTY_DB_ERR_TTYS_REGISTERED if the new range would drop a registered line.
uint32_t check_nothing_dropped(tty_db_type *db_h, tty_db_block_type *block, IdRange wanted) {
  const IdRange current = current_range(block);
  for (const IdRange dropped : {dropped_below(current, wanted), dropped_above(current, wanted)}) {
    if (dropped.empty()) continue;
    const uint32_t rc =
        tty_db_block_check_no_registered_ttys(db_h, block, dropped.first, dropped.last());
    if (rc != 0) return rc;
  }
  return 0;
}

// Deregisters the lines that the new range drops.  Asserts as `routine`.
void deregister_dropped(tty_db_type *db_h, tty_db_block_type *block, IdRange wanted,
                        const char *routine) {
  const IdRange below = dropped_below(current_range(block), wanted);
  if (!below.empty()) tty_db_block_deregister_ttys(db_h, block, below.first, below.last());
  tty_db_assert(block->details.capacity > 0, routine, __LINE__, "block_h->details.capacity > 0");
  const IdRange above = dropped_above(current_range(block), wanted);
  if (!above.empty()) tty_db_block_deregister_ttys(db_h, block, above.first, above.last());
}

// Moves the entries of the ids that stay to their slots in `new_array`, and leaves NULL in its
// others. `new_array` is zero-filled, or the block's own.
void carry_entries(const tty_db_block_type *block, IdRange wanted, tty_db_tty_type **new_array) {
  const IdRange carried = kept(current_range(block), wanted);
  const uint32_t front = carried.empty() ? 0 : carried.first - wanted.first;
  const uint32_t back = front + carried.size();
  if (!carried.empty()) {
    memmove(&new_array[front], &block->ttys[carried.first - block->details.first_tty],
            carried.size() * sizeof(*new_array));
  }
  if (new_array != block->ttys) return;
  memset(new_array, 0, front * sizeof(*new_array));
  memset(&new_array[back], 0, (wanted.size() - back) * sizeof(*new_array));
}

// Gives a block that is in no list its new range and, where there is memory, a new array.
// Returns 0, or with nothing changed TTY_DB_ERR_NO_MEMORY.  Traces and asserts as `routine`.
uint32_t change_range(tty_db_type *db_h, tty_db_block_type *block, IdRange wanted,
                      const char *routine) {
  auto **new_array = static_cast<tty_db_tty_type **>(calloc(wanted.size(), sizeof(*block->ttys)));
  if (new_array == nullptr) {
    if (wanted.size() > block->details.capacity) return TTY_DB_ERR_NO_MEMORY;
    TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, routine,
                    "Block shrink so use existing memory");
    new_array = block->ttys;
    if (!tty_db_assert(new_array != nullptr, routine, __LINE__, "new_array != NULL")) {
      return TTY_DB_ERR_INVALID_ARG;
    }
  }
  deregister_dropped(db_h, block, wanted, routine);
  carry_entries(block, wanted, new_array);
  if (new_array != block->ttys) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, routine, "Freeing old TTY array %X",
                    block->ttys);
    tty_db_assert(block->ttys != nullptr, routine, __LINE__, "(block_h->ttys) != NULL");
    free(block->ttys);
  }
  block->ttys = new_array;
  block->details.capacity = wanted.size();
  block->details.first_tty = wanted.first;
  return 0;
}

}  // namespace

// Takes the write lock.
uint32_t tty_db_block_resize(tty_db_type *db_h, tty_db_block_type *block_h, uint32_t first_tty,
                             uint32_t num_ttys, uint32_t options) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__, "Entering ..");
  uint32_t rc = 0;
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL DB handle");
  if (block_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL Block handle");
  if (!tty_db_is_valid_range(first_tty, num_ttys)) {
    rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "Invalid first TTY / number of TTYs");
  }
  if ((options & ~TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG) != 0) {
    rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "Invalid block options 0x%x", options);
  }
  if (rc == 0) rc = tty_db_block_check_mode(db_h);
  if (rc == 0) rc = tty_db_writelock(db_h, TTY_DB_TRACE_BLOCK);
  if (rc == 0) {
    if ((options & TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG) != 0) {
      rc = check_nothing_dropped(db_h, block_h, {first_tty, first_tty + num_ttys});
    }
    if (rc == 0) rc = tty_db_block_resize_internal(db_h, block_h, first_tty, num_ttys);
    tty_db_unlock(db_h, TTY_DB_TRACE_BLOCK);
  }
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}

// REQUIRES: the write lock.
uint32_t tty_db_block_resize_internal(tty_db_type *db_h, tty_db_block_type *block_h,
                                      uint32_t first_tty, uint32_t num_ttys) {
  bool valid = TTY_DB_ASSERT(db_h != NULL);
  if (valid) TTY_DB_ASSERT_WRITELOCKED(db_h);
  valid &= TTY_DB_ASSERT(block_h != NULL);
  valid &= tty_db_block_assert_range(first_tty, num_ttys);

  uint32_t rc = TTY_DB_ERR_INVALID_ARG;
  if (valid) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                    "Entering ..DB=%X: block=%X, first=%d, num=%lu, old_first=%d, old_num=%d", db_h,
                    block_h, first_tty, num_ttys, block_h->details.first_tty,
                    block_h->details.capacity);
    rc = tty_db_block_check_for_overlap(db_h, block_h->details.category, first_tty, num_ttys,
                                        block_h);
  }

  tty_db_block_type **old_insertion_point = nullptr;
  if (rc == 0) {
    rc = tty_db_block_find_insertion_point(db_h, block_h->details.category,
                                           block_h->details.first_tty, &old_insertion_point);
    if (!TTY_DB_ASSERT(old_insertion_point != NULL) ||
        !TTY_DB_ASSERT(*old_insertion_point == block_h)) {
      rc = TTY_DB_ERR_INVALID_ARG;
    }
  }

  if (rc == 0) {
    tty_db_block_unlink(db_h, old_insertion_point);
    tty_db_block_type **insertion_point = nullptr;
    tty_db_block_find_insertion_point(db_h, block_h->details.category, first_tty, &insertion_point);
    rc = change_range(db_h, block_h, {first_tty, first_tty + num_ttys}, __func__);
    if (rc != 0) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, __func__,
                      "Reinserting in old position because of error");
      insertion_point = old_insertion_point;
    }
    if (!TTY_DB_ASSERT(insertion_point != NULL)) insertion_point = old_insertion_point;
    tty_db_block_link(db_h, insertion_point, block_h);
  }
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}
