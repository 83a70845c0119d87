// Giving a block a new range of ids.
//
// The order of the steps matters.  Every step that can fail comes before the first step that cannot
// be undone.  Lines are deregistered while the block still contains their ids.  The new place in
// the list is looked up while the block is in no list.

#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "block/index.h"
#include "block/lookup.h"
#include "block/release.h"
#include "db/lock.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_BLOCK;

// The ids from `first` to `end`, without `end`; empty if first >= end.
struct IdRange {
  uint32_t first;
  uint32_t end;
  bool empty() const { return first >= end; }
  uint32_t size() const { return empty() ? 0 : end - first; }
};

IdRange common(IdRange one, IdRange other) {
  return {std::max(one.first, other.first), std::min(one.end, other.end)};
}

IdRange range_of(uint32_t first_tty, uint32_t num_ttys) {
  return {first_tty, first_tty + num_ttys};
}
IdRange current_range(const tty_db_block_type *block) {
  return range_of(block->details.first_tty, block->details.capacity);
}

// Return the ids of a block below and above a new range.
IdRange dropped_below(const tty_db_block_type *block, IdRange wanted) {
  return common(current_range(block), {0, wanted.first});
}
IdRange dropped_above(const tty_db_block_type *block, IdRange wanted) {
  return common(current_range(block), {wanted.end, TTY_DB_NUM_IDS});
}

// Checks that no registered line is outside the new range.  Returns 0 or
// TTY_DB_ERR_TTYS_REGISTERED.
uint32_t check_nothing_dropped(tty_db_type *db_h, tty_db_block_type *block, IdRange wanted)
    TTY_DB_REQUIRES_WRITE(db_h) {
  for (const IdRange dropped : {dropped_below(block, wanted), dropped_above(block, wanted)}) {
    if (dropped.empty()) continue;
    const uint32_t rc =
        tty_db_block_check_no_registered_ttys(db_h, block, dropped.first, dropped.end - 1);
    if (rc != 0) return rc;
  }
  return 0;
}

// Checks that the new range is free, and finds the link to the block.  Returns 0,
// TTY_DB_ERR_OVERLAP, or TTY_DB_ERR_INVALID_ARG if the block is not in its list.
uint32_t check_place(tty_db_speaker op, tty_db_type *db_h, tty_db_block_type *block_h,
                     IdRange wanted, tty_db_block_type ***old_insertion_point_out)
    TTY_DB_REQUIRES_WRITE(db_h) {
  const uint32_t category = block_h->details.category;
  const uint32_t rc =
      tty_db_block_check_for_overlap(db_h, category, wanted.first, wanted.size(), block_h);
  if (rc != 0) return rc;
  tty_db_block_type **old_insertion_point = nullptr;
  tty_db_block_find_insertion_point(db_h, category, block_h->details.first_tty,
                                    &old_insertion_point);
  *old_insertion_point_out = old_insertion_point;
  const bool listed =
      TTY_DB_ASSERT(old_insertion_point != NULL) && TTY_DB_ASSERT(*old_insertion_point == block_h);
  return listed ? 0 : TTY_DB_ERR_INVALID_ARG;
}

// Gets the slots for the new range: a new array or, if that cannot be allocated and the block does
// not grow, the old one.  Returns 0 or TTY_DB_ERR_NO_MEMORY.
uint32_t get_array(tty_db_speaker op, const tty_db_block_type *block, IdRange wanted,
                   tty_db_tty_type ***new_array_out) {
  auto **new_array = static_cast<tty_db_tty_type **>(calloc(wanted.size(), sizeof(*block->ttys)));
  if (new_array == nullptr) {
    if (wanted.size() > block->details.capacity) return TTY_DB_ERR_NO_MEMORY;
    TTY_DB_SAY("Block shrink so use existing memory");
    new_array = block->ttys;
    TTY_DB_ASSERT(new_array != NULL);
  }
  *new_array_out = new_array;
  return 0;
}

// Deregisters the lines outside the new range.
void deregister_dropped(tty_db_speaker op, tty_db_type *db_h, tty_db_block_type *block_h,
                        IdRange wanted) TTY_DB_REQUIRES_WRITE(db_h) {
  const IdRange below = dropped_below(block_h, wanted);
  if (!below.empty()) tty_db_block_deregister_ttys(db_h, block_h, below.first, below.end - 1);
  TTY_DB_ASSERT(block_h->details.capacity > 0);
  const IdRange above = dropped_above(block_h, wanted);
  if (!above.empty()) tty_db_block_deregister_ttys(db_h, block_h, above.first, above.end - 1);
}

// Moves the entries that stay to their slots in `new_array`: a zero-filled array, or the block's
// own.  Clears the other slots of the latter.
void carry_entries(const tty_db_block_type *block, IdRange wanted, tty_db_tty_type **new_array) {
  const IdRange carried = common(current_range(block), wanted);
  uint32_t front = 0;  // slots before the carried ones
  if (!carried.empty()) {
    front = carried.first - wanted.first;
    memmove(&new_array[front], &block->ttys[carried.first - block->details.first_tty],
            carried.size() * sizeof(*new_array));
  }
  if (new_array != block->ttys) return;
  const uint32_t back = front + carried.size();
  memset(new_array, 0, front * sizeof(*new_array));
  memset(&new_array[back], 0, (wanted.size() - back) * sizeof(*new_array));
}

// Gives a block the new range, with its entries in `new_array`.
void adopt_range(tty_db_speaker op, tty_db_block_type *block_h, IdRange wanted,
                 tty_db_tty_type **new_array) {
  carry_entries(block_h, wanted, new_array);
  if (new_array != block_h->ttys) {
    TTY_DB_SAY("Freeing old TTY array %X", block_h->ttys);
    TTY_DB_ASSERT((block_h->ttys) != NULL);
    free(block_h->ttys);
  }
  block_h->ttys = new_array;
  block_h->details.capacity = wanted.size();
  block_h->details.first_tty = wanted.first;
}

// Removes a block from its list, gives it the new range, and inserts it at its new place.  Returns
// 0, or TTY_DB_ERR_NO_MEMORY with nothing changed.
uint32_t change_range(tty_db_speaker op, tty_db_type *db_h, tty_db_block_type *block_h,
                      IdRange wanted, tty_db_block_type **old_insertion_point)
    TTY_DB_REQUIRES_WRITE(db_h) {
  tty_db_block_type **insertion_point = nullptr;
  tty_db_tty_type **new_array = nullptr;
  tty_db_index_unlink(db_h, old_insertion_point);
  tty_db_block_find_insertion_point(db_h, block_h->details.category, wanted.first,
                                    &insertion_point);
  const uint32_t rc = get_array(op, block_h, wanted, &new_array);
  if (rc == 0) {
    deregister_dropped(op, db_h, block_h, wanted);
    adopt_range(op, block_h, wanted, new_array);
  } else {
    TTY_DB_SAY("Reinserting in old position because of error");
    insertion_point = old_insertion_point;
  }
  TTY_DB_ASSERT(insertion_point != NULL);
  tty_db_index_link(db_h, insertion_point, block_h);
  return rc;
}

}  // namespace

uint32_t tty_db_block_resize(tty_db_type *db_h, tty_db_block_type *block_h, uint32_t first_tty,
                             uint32_t num_ttys, uint32_t options) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER();
  tty_db_require_block(op, db_h, block_h);
  tty_db_require_range(op, first_tty, num_ttys);
  tty_db_require_block_options(op, options);
  tty_db_require_manual_blocks(op, db_h);
  if (const tty_db_lock lock{op, db_h, TTY_DB_WRITE}) {
    if ((options & TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG) != 0) {
      op.rc = check_nothing_dropped(db_h, block_h, range_of(first_tty, num_ttys));
    }
    if (op.ok()) op.rc = tty_db_block_resize_internal(db_h, block_h, first_tty, num_ttys);
  }
  return op.exit();
}

uint32_t tty_db_block_resize_internal(tty_db_type *db_h, tty_db_block_type *block_h,
                                      uint32_t first_tty, uint32_t num_ttys) {
  tty_db_operation op(kTrace);
  tty_db_need(op, TTY_DB_ASSERT_WRITELOCKED(db_h));
  TTY_DB_NEED(block_h != NULL);
  tty_db_need_range(op, first_tty, num_ttys);
  if (block_h != nullptr) {
    TTY_DB_ENTER("DB=%X: block=%X, first=%d, num=%lu, old_first=%d, old_num=%d", db_h, block_h,
                 first_tty, num_ttys, block_h->details.first_tty, block_h->details.capacity);
  }
  const IdRange wanted = range_of(first_tty, num_ttys);
  tty_db_block_type **old_insertion_point = nullptr;
  if (op.ok()) op.rc = check_place(op, db_h, block_h, wanted, &old_insertion_point);
  if (op.ok()) op.rc = change_range(op, db_h, block_h, wanted, old_insertion_point);
  return op.exit();
}
