// Releasing a block, and deregistering the lines that a block gives up.
//
// Deregistration is a call against the order of the folders: src/tty builds on src/block.

#include "block/release.h"

#include <stdlib.h>
#include <string.h>

#include "block/directory.h"
#include "block/lookup.h"
#include "db/lock.h"
#include "frame/checks.h"

namespace {

// Asserts, for the calling routine, what a walk over a range of a block's ids requires.
bool assert_walk(tty_db_type *db, uint32_t first_tty, uint32_t last_tty,
                 const char *routine = __builtin_FUNCTION(), int line = __builtin_LINE()) {
  if (!tty_db_assert(db != nullptr, routine, line, "db != NULL")) return false;
  tty_db_assert(tty_db_is_writelocked(db), routine, line,
                "pthread_rwlock_trywrlock(&db->rwlock) == EDEADLK");
  tty_db_assert((first_tty > last_tty) || first_tty <= TTY_PORT_MAX, routine, line,
                "(first_tty > last_tty) || first_tty <= TTY_PORT_MAX");
  tty_db_assert((first_tty > last_tty) || last_tty <= TTY_PORT_MAX, routine, line,
                "(first_tty > last_tty) || last_tty <= TTY_PORT_MAX");
  return true;
}

// Returns the next id, from `first` to `last`, that a walk over a block visits, or one greater than
// `last`: every id while the visits are traced, otherwise the registered ones.
uint32_t next_to_visit(const tty_db_type *db, const tty_db_block_type *block, uint32_t first,
                       uint32_t last) {
  if (tty_db_tracing()) return first;
  return tty_db_directory_next_registered(db, block->details.category, first, last);
}

}  // namespace

uint32_t tty_db_block_check_no_registered_ttys(tty_db_type *db, tty_db_block_type *block,
                                               uint32_t first_tty, uint32_t last_tty) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: block=%X, first=%lu, last=%lu", db, block, first_tty,
                  last_tty);
  uint32_t rc = assert_walk(db, first_tty, last_tty) ? 0 : TTY_DB_ERR_INVALID_ARG;
  for (uint32_t tty_id = first_tty;
       rc == 0 && (tty_id = next_to_visit(db, block, tty_id, last_tty)) <= last_tty; ++tty_id) {
    if (tty_db_entry_from_block(block, tty_id, TTY_DB_TRACE_BLOCK) == nullptr) continue;
    TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, __func__, "TTY %lu is registered",
                    tty_id);
    rc = TTY_DB_ERR_TTYS_REGISTERED;
  }
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}

void tty_db_block_deregister_ttys(tty_db_type *db, tty_db_block_type *block, uint32_t first_tty,
                                  uint32_t last_tty) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: block=%X, first=%lu, last=%lu", db, block, first_tty,
                  last_tty);
  if (assert_walk(db, first_tty, last_tty)) {
    for (uint32_t tty_id = first_tty;
         (tty_id = next_to_visit(db, block, tty_id, last_tty)) <= last_tty; ++tty_id) {
      if (tty_db_entry_from_block(block, tty_id, TTY_DB_TRACE_BLOCK) == nullptr) continue;
      tty_db_tty_deregister_internal(db, block, tty_id);
    }
  }
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_EXIT, __func__, "Exiting ..");
}

void tty_db_block_cleanup(tty_db_type *db, tty_db_block_type *block) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__, "Entering ..DB=%X: block=%X",
                  db, block);
  if (block != nullptr) {
    TTY_DB_ASSERT(block->next_block == NULL);
    if (block->ttys != nullptr) {
      block->under_release = true;
      tty_db_block_deregister_ttys(db, block, block->details.first_tty,
                                   tty_db_block_end(block) - 1);
      TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, __func__, "Freeing TTY array %X",
                      block->ttys);
      free(block->ttys);
      block->ttys = nullptr;
    }
    if (block->details.tag_name != nullptr) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, __func__, "Freeing tag name %X",
                      block->details.tag_name);
      free(const_cast<char *>(block->details.tag_name));
      block->details.tag_name = nullptr;
    }
    TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, __func__, "Freeing block structure %X",
                    block);
    explicit_bzero(block, sizeof(*block));
    free(block);
  }
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_EXIT, __func__, "Exiting ..");
}

// Takes the write lock.
uint32_t tty_db_block_release(tty_db_type *db_h, tty_db_block_type *block_h, uint32_t options) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__, "Entering ..");
  uint32_t rc = 0;
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL DB handle");
  if (block_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL Block handle");
  if ((options & ~TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG) != 0) {
    rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "Invalid block options 0x%x", options);
  }
  if (rc == 0) rc = tty_db_block_check_mode(db_h);
  if (rc == 0) rc = tty_db_writelock(db_h, TTY_DB_TRACE_BLOCK);
  if (rc == 0) {
    if ((options & TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG) != 0) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, __func__,
                      "Checking for implicit TTY deregistration");
      if (block_h->details.num_registered != 0) {
        TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, __func__,
                        "Block has %lu TTYs registered", block_h->details.num_registered);
        rc = TTY_DB_ERR_TTYS_REGISTERED;
      }
    }
    if (rc == 0) tty_db_block_release_internal(db_h, block_h);
    tty_db_unlock(db_h, TTY_DB_TRACE_BLOCK);
  }
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}

namespace {

// Counts a block out and unlinks it.  Returns false, with nothing changed, if it is not in its
// list. Asserts as `routine`.
bool unlink_block(tty_db_type *db_h, tty_db_block_type *block_h, const char *routine) {
  const bool counted =
      tty_db_assert(db_h->num_blocks > 0, routine, __LINE__, "db_h->num_blocks > 0");
  tty_db_block_type **insertion_point = nullptr;
  tty_db_block_find_insertion_point(db_h, block_h->details.category, block_h->details.first_tty,
                                    &insertion_point);
  if (!tty_db_assert(insertion_point != nullptr, routine, __LINE__, "insertion_point != NULL") ||
      !tty_db_assert(*insertion_point == block_h, routine, __LINE__,
                     "(*insertion_point) == block_h")) {
    return false;
  }
  if (counted) --db_h->num_blocks;
  tty_db_block_unlink(db_h, insertion_point);
  return true;
}

}  // namespace

// REQUIRES: the write lock.
void tty_db_block_release_internal(tty_db_type *db_h, tty_db_block_type *block_h) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__, "Entering ..DB=%X: block_h=%X",
                  db_h, block_h);
  const bool has_db = TTY_DB_ASSERT(db_h != NULL);
  if (has_db) TTY_DB_ASSERT_WRITELOCKED(db_h);
  const bool has_block = TTY_DB_ASSERT(block_h != NULL);
  // Unlinked before its lines are deregistered: no lookup finds it any more.
  if (has_db && has_block && unlink_block(db_h, block_h, __func__)) {
    tty_db_block_cleanup(db_h, block_h);
  }
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_EXIT, __func__, "Exiting ..");
}
