// Releasing a block and deregistering its lines.
//
// Deregistration calls src/tty, a layer above.

#include "block/release.h"

#include <stdlib.h>
#include <string.h>

#include "block/index.h"
#include "block/lookup.h"
#include "db/lock.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_BLOCK;

// Asserts the preconditions of a walk over a range of ids.  Returns whether `db` is not NULL.
bool assert_walk(tty_db_speaker op, tty_db_type *db, uint32_t first_tty, uint32_t last_tty)
    TTY_DB_REQUIRES_WRITE(db) {
  if (!TTY_DB_ASSERT_WRITELOCKED(db)) return false;
  TTY_DB_ASSERT((first_tty > last_tty) || first_tty <= TTY_PORT_MAX);
  TTY_DB_ASSERT((first_tty > last_tty) || last_tty <= TTY_PORT_MAX);
  return true;
}

// Return the first registered id from `first` on, or an id above `last`.  One walks the slots and
// traces them, one asks the index.
[[gnu::cold, gnu::noinline]] uint32_t walk_to_registered(tty_db_speaker op,
                                                         const tty_db_block_type *block,
                                                         uint32_t first, uint32_t last) {
  uint32_t tty_id = first;
  while (tty_id <= last && tty_db_entry_from_block(op, block, tty_id) == nullptr) ++tty_id;
  return tty_id;
}
uint32_t look_up_registered(const tty_db_type *db, const tty_db_block_type *block, uint32_t first)
    TTY_DB_REQUIRES_READ(db) {
  return tty_db_index_next_registered(db, block->details.category, first);
}

}  // namespace

uint32_t tty_db_block_check_no_registered_ttys(tty_db_type *db, tty_db_block_type *block,
                                               uint32_t first_tty, uint32_t last_tty) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: block=%X, first=%lu, last=%lu", db, block, first_tty, last_tty);
  tty_db_need(op, assert_walk(op, db, first_tty, last_tty));
  if (op.ok()) {
    // The lines of a block of another database are not in this index.
    const uint32_t tty_id = tty_db_tracing() || !tty_db_index_has_block(db, block)
                                ? walk_to_registered(op, block, first_tty, last_tty)
                                : look_up_registered(db, block, first_tty);
    if (tty_id <= last_tty) {
      TTY_DB_SAY("TTY %lu is registered", tty_id);
      op.rc = TTY_DB_ERR_TTYS_REGISTERED;
    }
  }
  return op.exit();
}

void tty_db_block_deregister_ttys(tty_db_type *db, tty_db_block_type *block, uint32_t first_tty,
                                  uint32_t last_tty) {
  const tty_db_speaker op(kTrace);
  TTY_DB_ENTER("DB=%X: block=%X, first=%lu, last=%lu", db, block, first_tty, last_tty);
  if (assert_walk(op, db, first_tty, last_tty)) {
    for (uint32_t tty_id = first_tty;; ++tty_id) {
      tty_id = tty_db_tracing() ? walk_to_registered(op, block, tty_id, last_tty)
                                : look_up_registered(db, block, tty_id);
      if (tty_id > last_tty) break;
      tty_db_tty_deregister_internal(db, block, tty_id);
    }
  }
  op.exit();
}

void tty_db_block_cleanup(tty_db_type *db, tty_db_block_type *block) {
  const tty_db_speaker op(kTrace);
  TTY_DB_ENTER("DB=%X: block=%X", db, block);
  if (block != nullptr) {
    TTY_DB_ASSERT(block->next_block == NULL);
    if (block->ttys != nullptr) {
      tty_db_block_deregister_ttys(db, block, block->details.first_tty,
                                   tty_db_block_end(block) - 1);
      TTY_DB_SAY("Freeing TTY array %X", block->ttys);
      free(block->ttys);
      block->ttys = nullptr;
    }
    if (block->details.tag_name != nullptr) {
      TTY_DB_SAY("Freeing tag name %X", static_cast<const void *>(block->details.tag_name));
      free(const_cast<char *>(block->details.tag_name));
      block->details.tag_name = nullptr;
    }
    TTY_DB_SAY("Freeing block structure %X", block);
    explicit_bzero(block, sizeof(*block));
    free(block);
  }
  op.exit();
}

uint32_t tty_db_block_release(tty_db_type *db_h, tty_db_block_type *block_h, uint32_t options) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER();
  tty_db_require_block(op, db_h, block_h);
  tty_db_require_block_options(op, options);
  tty_db_require_manual_blocks(op, db_h);
  if (const tty_db_lock lock{op, db_h, TTY_DB_WRITE}) {
    if ((options & TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG) != 0) {
      TTY_DB_SAY("Checking for implicit TTY deregistration");
      if (block_h->details.num_registered != 0) {
        TTY_DB_SAY("Block has %lu TTYs registered", block_h->details.num_registered);
        op.rc = TTY_DB_ERR_TTYS_REGISTERED;
      }
    }
    if (op.ok()) tty_db_block_release_internal(db_h, block_h);
  }
  return op.exit();
}

namespace {

// Removes a block from its list and from the count.  Returns false, with nothing changed, if it is
// not in the list.
bool unlink_block(tty_db_speaker op, tty_db_type *db_h, tty_db_block_type *block_h)
    TTY_DB_REQUIRES_WRITE(db_h) {
  const bool counted = TTY_DB_ASSERT(db_h->num_blocks > 0);
  tty_db_block_type **insertion_point = nullptr;
  tty_db_block_find_insertion_point(db_h, block_h->details.category, block_h->details.first_tty,
                                    &insertion_point);
  if (!TTY_DB_ASSERT(insertion_point != NULL) || !TTY_DB_ASSERT((*insertion_point) == block_h)) {
    return false;
  }
  if (counted) --db_h->num_blocks;
  tty_db_index_unlink(db_h, insertion_point);
  return true;
}

}  // namespace

void tty_db_block_release_internal(tty_db_type *db_h, tty_db_block_type *block_h) {
  const tty_db_speaker op(kTrace);
  TTY_DB_ENTER("DB=%X: block_h=%X", db_h, block_h);
  const bool has_db = TTY_DB_ASSERT_WRITELOCKED(db_h);
  // Removed from its list first, so that deregistering its last line does not release it again.
  if (TTY_DB_ASSERT(block_h != NULL) && has_db && unlink_block(op, db_h, block_h)) {
    tty_db_block_cleanup(db_h, block_h);
  }
  op.exit();
}
