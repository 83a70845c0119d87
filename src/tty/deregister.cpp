// Deregistering a line.
//
// The holder of the entry is waited for ahead of everything else: it may be using the items.

#include "block/directory.h"
#include "item/item.h"
#include "tty/entry.h"

// Takes the write lock.
uint32_t tty_db_tty_deregister(tty_db_type *db_h, uint32_t category, uint32_t tty_id) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_ENTRY, __func__, "Entering ..");
  uint32_t rc = tty_db_check_tty(db_h, category, tty_id);
  if (rc == 0) rc = tty_db_writelock(db_h, TTY_DB_TRACE_TTY);
  if (rc == 0) {
    tty_db_block_type *block = nullptr;
    TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, __func__, "Retrieving block");
    rc = tty_db_block_find_block_from_tty_id(db_h, category, tty_id, &block);
    if (rc == 0 && tty_db_entry_from_block(block, tty_id, TTY_DB_TRACE_TTY) == nullptr) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, __func__,
                      "Entry not registered in block");
      rc = TTY_DB_ERR_NOT_REGISTERED;
    }
    if (rc == 0) tty_db_tty_deregister_internal(db_h, block, tty_id);
    tty_db_unlock(db_h, TTY_DB_TRACE_TTY);
  }
  tty_db_trace_exit(TTY_DB_TRACE_TTY, rc);
  return rc;
}

namespace {

// Destroys the items of an entry, most recently created first.  Asserts as `routine`.
void destroy_items(tty_db_tty_type *tty, const char *routine) {
  while (tty->item_list_head != nullptr) {
    const uint32_t key = tty->item_list_head->key;
    TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, routine, "Freeing item with key %lu", key);
    const uint32_t rc = tty_db_item_destroy(tty, key);
    if (!tty_db_assert(rc == 0, routine, __LINE__, "QERR_IS_OK(rc)")) break;
  }
}

}  // namespace

// REQUIRES: the write lock.
void tty_db_tty_deregister_internal(tty_db_type *db_h, tty_db_block_type *block, uint32_t tty_id) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: block=%X, tty_id=%lu", db_h, block, tty_id);
  const bool has_db = TTY_DB_ASSERT(db_h != NULL);
  if (has_db) TTY_DB_ASSERT_WRITELOCKED(db_h);
  tty_db_tty_type *tty = tty_db_entry_from_block(block, tty_id, TTY_DB_TRACE_TTY);
  if (TTY_DB_ASSERT(tty != NULL) && has_db) {
    tty_db_wait_for_holder(tty);
    destroy_items(tty, __func__);
    tty_db_set_entry_in_block(block, tty_id, nullptr);
    tty_db_directory_set_registered(db_h, block->details.category, tty_id, false);
    if (TTY_DB_ASSERT(block->details.num_registered > 0)) --block->details.num_registered;
    if (TTY_DB_ASSERT(db_h->num_ttys > 0)) --db_h->num_ttys;
    TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, __func__,
                    "Block now has %lu TTYs and DB has %lu TTYs", block->details.num_registered,
                    db_h->num_ttys);
    tty_db_cleanup_entry(tty, true);
    if (block->details.num_registered == 0 && (db_h->options & TTY_DB_OPT_AUTO_BLOCKS) != 0 &&
        !block->under_release) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, __func__,
                      "Freeing automatic block %X which has no entries", block);
      tty_db_block_release_internal(db_h, block);
    }
  }
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_EXIT, __func__, "Exiting ..");
}
