// Iterators over the registered lines of a database.

#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "block/index.h"
#include "db/lock.h"
#include "iterate/iterator.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_ITERATION;

// Allocates an iterator.  Returns 0 or TTY_DB_ERR_NO_MEMORY.
uint32_t allocate_iterator(tty_db_speaker op, tty_db_iterator_type **iterator_h) {
  auto *iterator = static_cast<tty_db_iterator_type *>(calloc(1, sizeof(tty_db_iterator_type)));
  if (iterator == nullptr) {
    TTY_DB_SAY("malloc(%d) of iterator structure failed", sizeof(*iterator));
    return TTY_DB_ERR_NO_MEMORY;
  }
  TTY_DB_SAY("Iterator structure %X allocated", iterator);
  *iterator_h = iterator;
  return 0;
}

}  // namespace

uint32_t tty_db_iterate_start(tty_db_type *db_h, uint32_t start_category, uint32_t start_id,
                              uint32_t end_category, uint32_t end_id,
                              tty_db_iterator_type **iterator_h) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: start: cat=%lu, id=%lu; end: cat=%lu, id=%lu; iterator=%X", db_h,
               start_category, start_id, end_category, end_id, iterator_h);
  TTY_DB_REQUIRE(db_h != nullptr, "NULL DB handle");
  TTY_DB_REQUIRE(start_category <= TTY_CATEGORY_MAX, "Invalid start category %d", start_category);
  TTY_DB_REQUIRE(start_id <= TTY_PORT_MAX, "Invalid start Id %d", start_id);
  TTY_DB_REQUIRE(end_category <= TTY_CATEGORY_MAX, "Invalid end category %d", end_category);
  TTY_DB_REQUIRE(end_id <= TTY_PORT_MAX, "Invalid end Id %d", end_id);
  TTY_DB_REQUIRE(iterator_h != nullptr, "NULL iterator handle output variable");
  if (op.ok()) op.rc = allocate_iterator(op, iterator_h);
  if (op.ok()) **iterator_h = {start_category, start_id, end_category, end_id, db_h};
  return op.exit();
}

// Flattened, so that the search costs no call.
[[gnu::flatten]] uint32_t tty_db_iterate_next(tty_db_iterator_type *iterator_h, uint32_t *category,
                                              uint32_t *tty_id) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("iterator=%X, category=%X, tty_id=%X", iterator_h, category, tty_id);
  TTY_DB_REQUIRE(iterator_h != nullptr, "NULL Iterator handle");
  TTY_DB_REQUIRE(category != nullptr, "NULL category output argument");
  TTY_DB_REQUIRE(tty_id != nullptr, "NULL TTY ID output argument");
  if (const tty_db_lock lock{op, op.ok() ? iterator_h->db_h : nullptr, TTY_DB_READ}) {
    op.rc = tty_db_iterate_next_internal(iterator_h, category, tty_id);
  }
  if (!op.ok() && category != nullptr) *category = TTY_CATEGORY_MAX;
  if (!op.ok() && tty_id != nullptr) *tty_id = 0;
  return op.exit();
}

namespace {

// The next two functions search the iterator's category from its position.  They return the first
// registered id up to `max_id`, or a number above it if there is none.

// Walks from block to block and from id to id, with tracing and assertions.
[[gnu::cold, gnu::noinline]] uint32_t walk_to_line(tty_db_speaker op,
                                                   const tty_db_iterator_type *iterator_h,
                                                   uint32_t max_id)
    TTY_DB_REQUIRES_READ(iterator_h->db_h) {
  uint32_t next_id = iterator_h->next_id;
  do {
    TTY_DB_SAY("Looking for next block in this category");
    tty_db_block_type *block = nullptr;
    if (tty_db_block_find_lowest_block(iterator_h->db_h, iterator_h->next_category, next_id,
                                       &block) != 0) {
      break;
    }
    TTY_DB_ASSERT(block != NULL);
    TTY_DB_ASSERT(block->details.category == iterator_h->next_category);
    TTY_DB_ASSERT_TEXT(tty_db_block_end(block) > next_id,
                       "(block->details.first_tty + block->details.capacity) > "
                       "iterator_h->next_id");
    TTY_DB_SAY("Got block starting at %lu with %lu TTYs", block->details.first_tty,
               block->details.capacity);
    const uint32_t scan_end = std::min(tty_db_block_end(block) - 1, max_id);
    next_id = std::max(next_id, block->details.first_tty);
    TTY_DB_SAY("Looking at IDs %lu to %lu", next_id, scan_end);
    for (; next_id <= scan_end; ++next_id) {
      if (tty_db_entry_from_block(op, block, next_id) == nullptr) continue;
      TTY_DB_SAY("TTY with ID %lu is registered", next_id);
      return next_id;
    }
  } while (next_id <= max_id);
  return max_id + 1;
}

// Searches the index.
uint32_t look_up_line(const tty_db_iterator_type *iterator_h)
    TTY_DB_REQUIRES_READ(iterator_h->db_h) {
  const uint32_t category = iterator_h->next_category;
  if (iterator_h->db_h->block_lists[category] == nullptr) return TTY_DB_NUM_IDS;
  return tty_db_index_next_registered(iterator_h->db_h, category, iterator_h->next_id);
}

// Finds the next registered line and moves the position past it.  Returns 0 or TTY_DB_ERR_NO_MORE.
uint32_t find_line(tty_db_speaker op, tty_db_iterator_type *iterator_h, uint32_t *category,
                   uint32_t *tty_id) TTY_DB_REQUIRES_READ(iterator_h->db_h) {
  uint32_t rc = TTY_DB_ERR_NO_MORE;
  while (rc != 0 && iterator_h->next_category <= iterator_h->end_category) {
    const bool is_last = iterator_h->next_category == iterator_h->end_category;
    const uint32_t max_id = is_last ? iterator_h->end_id : TTY_PORT_MAX;
    TTY_DB_SAY("Considering category %lu, maximum TTY ID is %lu", iterator_h->next_category,
               max_id);
    const uint32_t found =
        tty_db_tracing() ? walk_to_line(op, iterator_h, max_id) : look_up_line(iterator_h);
    if (found <= max_id) {
      *category = iterator_h->next_category;
      *tty_id = found;
      rc = 0;
    }
    iterator_h->next_id = found + 1;
    if (found >= max_id) {
      TTY_DB_SAY("Moving category on");
      ++iterator_h->next_category;
      iterator_h->next_id = 0;
    }
  }
  return rc;
}

}  // namespace

uint32_t tty_db_iterate_next_internal(tty_db_iterator_type *iterator_h, uint32_t *category,
                                      uint32_t *tty_id) {
  tty_db_operation op(kTrace);
  TTY_DB_NEED(iterator_h != NULL);
  TTY_DB_NEED(category != NULL);
  TTY_DB_NEED(tty_id != NULL);
  if (iterator_h != nullptr) {
    TTY_DB_ENTER("iterator=%X; next: category=%lu, id=%lu; end: category=%lu, id=%lu", iterator_h,
                 iterator_h->next_category, iterator_h->next_id, iterator_h->end_category,
                 iterator_h->end_id);
  }
  if (op.ok()) {
    tty_db_trust_locked(iterator_h->db_h);
    op.rc = find_line(op, iterator_h, category, tty_id);
  }
  if (!op.ok() && category != nullptr) *category = TTY_CATEGORY_MAX;
  if (!op.ok() && tty_id != nullptr) *tty_id = 0;
  return op.exit();
}

uint32_t tty_db_iterate_end(tty_db_iterator_type *iterator_h) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("iterator=%X", iterator_h);
  TTY_DB_REQUIRE(iterator_h != nullptr, "NULL iterator argument");
  if (op.ok()) {
    TTY_DB_SAY("Freeing iterator structure %X", iterator_h);
    explicit_bzero(iterator_h, sizeof(*iterator_h));
    free(iterator_h);
  }
  return op.exit();
}
