// Iterators over the registered lines of a database.

#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "block/directory.h"
#include "db/lock.h"
#include "frame/checks.h"
#include "iterate/iterator.h"

// Takes no lock.
uint32_t tty_db_iterate_start(tty_db_type *db_h, uint32_t start_category, uint32_t start_id,
                              uint32_t end_category, uint32_t end_id,
                              tty_db_iterator_type **iterator_h) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: start: cat=%lu, id=%lu; end: cat=%lu, id=%lu; iterator=%X",
                  db_h, start_category, start_id, end_category, end_id, iterator_h);
  uint32_t rc = 0;
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_ITERATION, "NULL DB handle");
  if (start_category > TTY_CATEGORY_MAX) {
    rc = tty_db_reject(TTY_DB_TRACE_ITERATION, "Invalid start category %d", start_category);
  }
  if (start_id > TTY_PORT_MAX) {
    rc = tty_db_reject(TTY_DB_TRACE_ITERATION, "Invalid start Id %d", start_id);
  }
  if (end_category > TTY_CATEGORY_MAX) {
    rc = tty_db_reject(TTY_DB_TRACE_ITERATION, "Invalid end category %d", end_category);
  }
  if (end_id > TTY_PORT_MAX)
    rc = tty_db_reject(TTY_DB_TRACE_ITERATION, "Invalid end Id %d", end_id);
  if (iterator_h == nullptr) {
    rc = tty_db_reject(TTY_DB_TRACE_ITERATION, "NULL iterator handle output variable");
  }

  if (rc == 0) {
    auto *iterator = static_cast<tty_db_iterator_type *>(calloc(1, sizeof(tty_db_iterator_type)));
    if (iterator == nullptr) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_LINE, __func__,
                      "malloc(%d) of iterator structure failed", sizeof(*iterator));
      rc = TTY_DB_ERR_NO_MEMORY;
    } else {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_LINE, __func__,
                      "Iterator structure %X allocated", iterator);
      *iterator = {start_category, start_id, end_category, end_id, db_h};
      *iterator_h = iterator;
    }
  }
  tty_db_trace_exit(TTY_DB_TRACE_ITERATION, rc);
  return rc;
}

// Takes the read lock.
uint32_t tty_db_iterate_next(tty_db_iterator_type *iterator_h, uint32_t *category,
                             uint32_t *tty_id) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..iterator=%X, category=%X, tty_id=%X", iterator_h, category, tty_id);
  uint32_t rc = 0;
  if (iterator_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_ITERATION, "NULL Iterator handle");
  if (category == nullptr) {
    rc = tty_db_reject(TTY_DB_TRACE_ITERATION, "NULL category output argument");
  }
  if (tty_id == nullptr) rc = tty_db_reject(TTY_DB_TRACE_ITERATION, "NULL TTY ID output argument");
  if (rc == 0) rc = tty_db_readlock(iterator_h->db_h, TTY_DB_TRACE_ITERATION);
  if (rc == 0) {
    rc = tty_db_iterate_next_internal(iterator_h, category, tty_id);
    tty_db_unlock(iterator_h->db_h, TTY_DB_TRACE_ITERATION);
  }
  if (rc != 0 && category != nullptr) *category = TTY_CATEGORY_MAX;
  if (rc != 0 && tty_id != nullptr) *tty_id = 0;
  tty_db_trace_exit(TTY_DB_TRACE_ITERATION, rc);
  return rc;
}

namespace {

// Looks for the next registered TTY of the category that is not above `max_id`, and moves the
// position past it.  Returns whether there is one: its id is next_id - 1.  If not, the position is
// left anywhere: the caller moves on.  REQUIRES: the database lock.  Traces and asserts as
// `routine`.
bool find_in_category(tty_db_iterator_type *iterator_h, uint32_t max_id, const char *routine) {
  if (!tty_db_tracing()) {
    // The walk below would trace nothing; the directory knows its outcome.
    const uint32_t found = tty_db_directory_next_registered(
        iterator_h->db_h, iterator_h->next_category, iterator_h->next_id, max_id);
    iterator_h->next_id = found + 1;
    return found <= max_id;
  }
  do {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_LINE, routine,
                    "Looking for next block in this category");
    tty_db_block_type *block = nullptr;
    if (tty_db_block_find_lowest_block(iterator_h->db_h, iterator_h->next_category,
                                       iterator_h->next_id, &block) != 0) {
      return false;
    }
    if (!tty_db_assert(block != nullptr, routine, __LINE__, "block != NULL")) return false;
    tty_db_assert(block->details.category == iterator_h->next_category, routine, __LINE__,
                  "block->details.category == iterator_h->next_category");
    tty_db_assert(tty_db_block_end(block) > iterator_h->next_id, routine, __LINE__,
                  "(block->details.first_tty + block->details.capacity) > iterator_h->next_id");
    TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_LINE, routine,
                    "Got block starting at %lu with %lu TTYs", block->details.first_tty,
                    block->details.capacity);
    const uint32_t scan_end = std::min(tty_db_block_end(block) - 1, max_id);
    if (iterator_h->next_id < block->details.first_tty)
      iterator_h->next_id = block->details.first_tty;
    TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_LINE, routine, "Looking at IDs %lu to %lu",
                    iterator_h->next_id, scan_end);
    while (iterator_h->next_id <= scan_end) {
      const uint32_t tty_id = iterator_h->next_id++;
      if (tty_db_entry_from_block(block, tty_id, TTY_DB_TRACE_ITERATION) == nullptr) continue;
      TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_LINE, routine,
                      "TTY with ID %lu is registered", tty_id);
      return true;
    }
  } while (iterator_h->next_id <= max_id);
  return false;
}

}  // namespace

// REQUIRES: the database lock, for reading or writing.
uint32_t tty_db_iterate_next_internal(tty_db_iterator_type *iterator_h, uint32_t *category,
                                      uint32_t *tty_id) {
  bool valid = TTY_DB_ASSERT(iterator_h != NULL);
  valid &= TTY_DB_ASSERT(category != NULL);
  valid &= TTY_DB_ASSERT(tty_id != NULL);

  uint32_t rc = TTY_DB_ERR_INVALID_ARG;
  uint32_t found_category = TTY_CATEGORY_MAX;
  uint32_t found_id = 0;
  if (valid) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_ENTRY, __func__,
                    "Entering ..iterator=%X; next: category=%lu, id=%lu; end: category=%lu, id=%lu",
                    iterator_h, iterator_h->next_category, iterator_h->next_id,
                    iterator_h->end_category, iterator_h->end_id);
    rc = TTY_DB_ERR_NO_MORE;
    while (rc != 0 && iterator_h->next_category <= iterator_h->end_category) {
      const uint32_t max_id =
          iterator_h->next_category == iterator_h->end_category ? iterator_h->end_id : TTY_PORT_MAX;
      TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_LINE, __func__,
                      "Considering category %lu, maximum TTY ID is %lu", iterator_h->next_category,
                      max_id);
      if (find_in_category(iterator_h, max_id, __func__)) {
        found_category = iterator_h->next_category;
        found_id = iterator_h->next_id - 1;
        rc = 0;
      }
      if (rc == 0 && iterator_h->next_id <= max_id) break;
      TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_LINE, __func__, "Moving category on");
      ++iterator_h->next_category;
      iterator_h->next_id = 0;
    }
  }
  if (category != nullptr) *category = found_category;
  if (tty_id != nullptr) *tty_id = found_id;
  tty_db_trace_exit(TTY_DB_TRACE_ITERATION, rc);
  return rc;
}

// Takes no lock: it touches the iterator alone.
uint32_t tty_db_iterate_end(tty_db_iterator_type *iterator_h) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_ENTRY, __func__, "Entering ..iterator=%X",
                  iterator_h);
  uint32_t rc = 0;
  if (iterator_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_ITERATION, "NULL iterator argument");
  if (rc == 0) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_ITERATION, TTY_DB_TRACE_LINE, __func__,
                    "Freeing iterator structure %X", iterator_h);
    explicit_bzero(iterator_h, sizeof(*iterator_h));
    free(iterator_h);
  }
  tty_db_trace_exit(TTY_DB_TRACE_ITERATION, rc);
  return rc;
}
