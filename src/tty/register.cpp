// Registering a line, in a block that covers its id: one that the caller has reserved, or, under
// automatic block management, one that registration reserves itself.

#include <stdlib.h>

#include <algorithm>

#include "block/directory.h"
#include "tty/entry.h"

namespace {

// Reserves the automatic block that covers an id: TTY_DB_AUTO_BLOCK_SIZE ids from the multiple at
// or below it, or fewer where they would end past TTY_PORT_MAX.
uint32_t reserve_automatic_block(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                 const char *routine, tty_db_block_type **block) {
  const uint32_t first_tty = tty_id - tty_id % TTY_DB_AUTO_BLOCK_SIZE;
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, routine,
                  "Creating automatic block starting at ID %lu", first_tty);
  const uint32_t num_ttys = std::min(TTY_DB_AUTO_BLOCK_SIZE, TTY_PORT_MAX - first_tty + 1);
  return tty_db_block_reserve_internal(db_h, category, first_tty, num_ttys, nullptr, 0, block);
}

// Returns 0 or TTY_DB_ERR_TTY_EXISTS.
uint32_t check_slot_is_free(const tty_db_block_type *block, uint32_t category, uint32_t tty_id,
                            const char *routine) {
  if (!tty_db_assert(block != nullptr, routine, __LINE__, "block != NULL")) {
    return TTY_DB_ERR_INVALID_ARG;
  }
  tty_db_assert(block->details.category == category, routine, __LINE__,
                "block->details.category == category");
  if (tty_db_entry_from_block(block, tty_id, TTY_DB_TRACE_TTY) == nullptr) return 0;
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, routine, "TTY already exists");
  return TTY_DB_ERR_TTY_EXISTS;
}

// Allocates a zero-filled entry.  Returns 0 or TTY_DB_ERR_NO_MEMORY.
uint32_t allocate_entry(size_t entry_size, const char *routine, tty_db_tty_type **entry) {
  *entry = static_cast<tty_db_tty_type *>(calloc(1, entry_size));
  if (*entry == nullptr) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, routine,
                    "malloc(%d) of entry structure failed", entry_size);
    return TTY_DB_ERR_NO_MEMORY;
  }
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, routine, "Entry structure %X allocated",
                  *entry);
  return 0;
}

}  // namespace

// Takes the write lock.
uint32_t tty_db_tty_register(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                             size_t entry_size, tty_db_tty_type **tty) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_ENTRY, __func__, "Entering ..");
  uint32_t rc = tty_db_check_tty(db_h, category, tty_id);
  if (entry_size < sizeof(tty_db_tty_type)) {
    rc = tty_db_reject(TTY_DB_TRACE_TTY, "Invalid entry size %d (need %d)", entry_size,
                       sizeof(tty_db_tty_type));
  }
  if (tty == nullptr) rc = tty_db_reject(TTY_DB_TRACE_TTY, "NULL TTY handle");
  if (rc == 0) rc = tty_db_writelock(db_h, TTY_DB_TRACE_TTY);
  if (rc == 0) {
    rc = tty_db_tty_register_internal(db_h, category, tty_id, entry_size, tty);
    tty_db_unlock(db_h, TTY_DB_TRACE_TTY);
  }
  if (rc != 0 && tty != nullptr) *tty = nullptr;
  tty_db_trace_exit(TTY_DB_TRACE_TTY, rc);
  return rc;
}

// REQUIRES: the write lock.
uint32_t tty_db_tty_register_internal(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                      size_t entry_size, tty_db_tty_type **tty) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: category=%lu, tty_id=%lu, entry_size=%lu, tty=%X", db_h,
                  category, tty_id, entry_size, tty);
  bool valid = TTY_DB_ASSERT(db_h != NULL);
  if (valid) TTY_DB_ASSERT_WRITELOCKED(db_h);
  valid &= TTY_DB_ASSERT(category >= TTY_CATEGORY_MIN && category <= TTY_CATEGORY_MAX);
  valid &= TTY_DB_ASSERT(entry_size >= sizeof(tty_db_tty_type));
  valid &= TTY_DB_ASSERT(tty != NULL);

  uint32_t rc = TTY_DB_ERR_INVALID_ARG;
  tty_db_tty_type *entry = nullptr;
  if (valid) {
    tty_db_block_type *block = nullptr;
    bool block_created = false;
    bool lock_initialized = false;

    TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, __func__, "Retrieving block");
    rc = tty_db_block_find_block_from_tty_id(db_h, category, tty_id, &block);
    if (rc == TTY_DB_ERR_NO_BLOCK && (db_h->options & TTY_DB_OPT_AUTO_BLOCKS) != 0 &&
        tty_id <= TTY_PORT_MAX) {
      rc = reserve_automatic_block(db_h, category, tty_id, __func__, &block);
      block_created = rc == 0;
    }
    if (rc == 0) rc = check_slot_is_free(block, category, tty_id, __func__);
    if (rc == 0) rc = allocate_entry(entry_size, __func__, &entry);
    if (rc == 0) {
      entry->item_list_head = nullptr;
      rc = tty_db_create_entry_lock(entry);
      lock_initialized = rc == 0;
    }
    if (rc == 0) rc = tty_db_lock_tty(db_h, entry);

    if (rc == 0) {
      TTY_DB_ASSERT(block != NULL);
      TTY_DB_ASSERT_TEXT(tty_db_entry_from_block(block, tty_id, TTY_DB_TRACE_TTY) == nullptr,
                         "tty_db_entry_from_block(block, tty_id) == NULL");
      TTY_DB_ASSERT(block->details.num_registered < block->details.capacity);
      tty_db_set_entry_in_block(block, tty_id, entry);
      tty_db_directory_set_registered(db_h, category, tty_id, true);
      ++block->details.num_registered;
      ++db_h->num_ttys;
      TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, __func__,
                      "Block now has %lu TTYs and DB has %lu TTYs", block->details.num_registered,
                      db_h->num_ttys);
    } else {
      tty_db_cleanup_entry(entry, lock_initialized);
      entry = nullptr;
      if (block_created) {
        TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, __func__,
                        "Destroying automatically created block");
        tty_db_block_release_internal(db_h, block);
      }
    }
  }
  if (tty != nullptr) *tty = entry;
  tty_db_trace_exit(TTY_DB_TRACE_TTY, rc);
  return rc;
}
