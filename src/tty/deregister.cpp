// Deregistering a line.
//
// The library waits for the holder before it frees the items, which the holder may be using.

#include "block/index.h"
#include "item/item.h"
#include "tty/entry.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_TTY;

// Finds the block of a registered line.  Returns 0, TTY_DB_ERR_NO_BLOCK or
// TTY_DB_ERR_NOT_REGISTERED.
uint32_t find_line(tty_db_speaker op, tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                   tty_db_block_type **block) TTY_DB_REQUIRES_READ(db_h) {
  TTY_DB_SAY("Retrieving block");
  const uint32_t rc = tty_db_block_find_block_from_tty_id(db_h, category, tty_id, block);
  if (rc != 0) return rc;
  if (tty_db_entry_from_block(op, *block, tty_id) != nullptr) return 0;
  TTY_DB_SAY("Entry not registered in block");
  return TTY_DB_ERR_NOT_REGISTERED;
}

// Destroys the items of an entry, newest first.
void destroy_items(tty_db_speaker op, tty_db_tty_type *tty) {
  while (tty->item_list_head != nullptr) {
    const uint32_t key = tty->item_list_head->key;
    TTY_DB_SAY("Freeing item with key %lu", key);
    const uint32_t rc = tty_db_item_destroy(tty, key);
    if (!TTY_DB_ASSERT_TEXT(rc == 0, "QERR_IS_OK(rc)")) break;
  }
}

// Returns whether a block is an empty automatic block that must be released.  A block in no list is
// already under release.
bool is_left_over(const tty_db_type *db_h, const tty_db_block_type *block)
    TTY_DB_REQUIRES_WRITE(db_h) {
  return block->details.num_registered == 0 && (db_h->options & TTY_DB_OPT_AUTO_BLOCKS) != 0 &&
         tty_db_index_has_block(db_h, block);
}

}  // namespace

uint32_t tty_db_tty_deregister(tty_db_type *db_h, uint32_t category, uint32_t tty_id) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER();
  tty_db_require_line(op, db_h, category, tty_id);
  if (const tty_db_lock lock{op, db_h, TTY_DB_WRITE}) {
    tty_db_block_type *block = nullptr;
    op.rc = find_line(op, db_h, category, tty_id, &block);
    if (op.ok()) tty_db_tty_deregister_internal(db_h, block, tty_id);
  }
  return op.exit();
}

void tty_db_tty_deregister_internal(tty_db_type *db_h, tty_db_block_type *block, uint32_t tty_id) {
  const tty_db_speaker op(kTrace);
  TTY_DB_ENTER("DB=%X: block=%X, tty_id=%lu", db_h, block, tty_id);
  const bool has_db = TTY_DB_ASSERT_WRITELOCKED(db_h);
  tty_db_tty_type *tty = tty_db_entry_from_block(op, block, tty_id);
  // A block of another database and its lines are not changed.
  const bool indexed =
      TTY_DB_ASSERT(tty != NULL) && has_db &&
      TTY_DB_ASSERT(tty_db_index_of(db_h, block->details.category).entry(tty_id) == tty);
  if (indexed) {
    tty_db_wait_for_holder(tty);
    destroy_items(op, tty);
    tty_db_index_take_line(op, db_h, block, tty_id);
    tty_db_cleanup_entry(tty, true);
    if (is_left_over(db_h, block)) {
      TTY_DB_SAY("Freeing automatic block %X which has no entries", block);
      tty_db_block_release_internal(db_h, block);
    }
  }
  op.exit();
}
