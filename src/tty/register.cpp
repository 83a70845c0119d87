// Registering a line.

#include <stdlib.h>

#include "block/index.h"
#include "tty/entry.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_TTY;

// What a registration has found or created so far.
struct Registration {
  tty_db_block_type *block = nullptr;
  bool block_created = false;
  tty_db_tty_type *entry = nullptr;
  bool lock_initialized = false;
};

// Reserves the automatic block for an id: TTY_DB_AUTO_BLOCK_SIZE ids, the first one a multiple of
// that number.  The block of TTY_PORT_MAX contains only that id.  Returns the result of
// tty_db_block_reserve_internal, which rejects ids above TTY_PORT_MAX.
uint32_t reserve_automatic_block(tty_db_speaker op, tty_db_type *db_h, uint32_t category,
                                 uint32_t tty_id, tty_db_block_type **block)
    TTY_DB_REQUIRES_WRITE(db_h) {
  static_assert(TTY_PORT_MAX % TTY_DB_AUTO_BLOCK_SIZE == 0);
  const uint32_t first_tty = tty_id - tty_id % TTY_DB_AUTO_BLOCK_SIZE;
  const uint32_t num_ttys = tty_id == TTY_PORT_MAX ? 1 : TTY_DB_AUTO_BLOCK_SIZE;
  TTY_DB_SAY("Creating automatic block starting at ID %lu", first_tty);
  return tty_db_block_reserve_internal(db_h, category, first_tty, num_ttys, nullptr, 0, block);
}

// Finds the block that contains an id, or reserves an automatic block.  Returns 0,
// TTY_DB_ERR_NO_BLOCK, or the result of the failed reservation.
uint32_t find_or_reserve_block(tty_db_speaker op, tty_db_type *db_h, uint32_t category,
                               uint32_t tty_id, Registration *made) TTY_DB_REQUIRES_WRITE(db_h) {
  TTY_DB_SAY("Retrieving block");
  uint32_t rc = tty_db_block_find_block_from_tty_id(db_h, category, tty_id, &made->block);
  if (rc == TTY_DB_ERR_NO_BLOCK && (db_h->options & TTY_DB_OPT_AUTO_BLOCKS) != 0) {
    rc = reserve_automatic_block(op, db_h, category, tty_id, &made->block);
    made->block_created = rc == 0;
  }
  return rc;
}

// Checks that no line is registered at an id.  Returns 0 or TTY_DB_ERR_TTY_EXISTS.
uint32_t check_slot_is_free(tty_db_speaker op, const tty_db_block_type *block, uint32_t category,
                            uint32_t tty_id) {
  TTY_DB_ASSERT(block != NULL);
  TTY_DB_ASSERT(block->details.category == category);
  if (tty_db_entry_from_block(op, block, tty_id) == nullptr) return 0;
  TTY_DB_SAY("TTY already exists");
  return TTY_DB_ERR_TTY_EXISTS;
}

// Allocates a zero-filled entry.  Returns 0 or TTY_DB_ERR_NO_MEMORY.
uint32_t allocate_entry(tty_db_speaker op, size_t entry_size, tty_db_tty_type **entry) {
  *entry = static_cast<tty_db_tty_type *>(calloc(1, entry_size));
  if (*entry == nullptr) {
    TTY_DB_SAY("malloc(%d) of entry structure failed", entry_size);
    return TTY_DB_ERR_NO_MEMORY;
  }
  TTY_DB_SAY("Entry structure %X allocated", *entry);
  return 0;
}

// The steps that can fail: finds or reserves the block, creates the entry and locks it.
// `*made` is for undo after a failure.  Returns the results of tty_db_tty_register.
uint32_t build(tty_db_speaker op, tty_db_type *db_h, uint32_t category, uint32_t tty_id,
               size_t entry_size, Registration *made) TTY_DB_REQUIRES_WRITE(db_h) {
  uint32_t rc = find_or_reserve_block(op, db_h, category, tty_id, made);
  if (rc == 0) rc = check_slot_is_free(op, made->block, category, tty_id);
  if (rc == 0) rc = allocate_entry(op, entry_size, &made->entry);
  if (rc != 0) return rc;
  made->entry->item_list_head = nullptr;
  rc = tty_db_create_entry_lock(op, made->entry);
  if (rc != 0) return rc;
  made->lock_initialized = true;
  return tty_db_lock_tty(db_h, made->entry);
}

// Undoes a failed build.
void undo(tty_db_speaker op, tty_db_type *db_h, const Registration &made)
    TTY_DB_REQUIRES_WRITE(db_h) {
  tty_db_cleanup_entry(made.entry, made.lock_initialized);
  if (!made.block_created) return;
  TTY_DB_SAY("Destroying automatically created block");
  tty_db_block_release_internal(db_h, made.block);
}

// The steps that cannot fail: makes the line visible to other threads and counts it.
void publish(tty_db_speaker op, tty_db_type *db_h, uint32_t tty_id, const Registration &made)
    TTY_DB_REQUIRES_WRITE(db_h) {
  tty_db_block_type *block = made.block;
  TTY_DB_ASSERT(block != NULL);
  TTY_DB_ASSERT_TEXT(tty_db_entry_from_block(op, block, tty_id) == nullptr,
                     "tty_db_entry_from_block(block, tty_id) == NULL");
  TTY_DB_ASSERT(block->details.num_registered < block->details.capacity);
  tty_db_index_put_line(op, db_h, block, tty_id, made.entry);
}

}  // namespace

uint32_t tty_db_tty_register(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                             size_t entry_size, tty_db_tty_type **tty) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER();
  tty_db_require_line(op, db_h, category, tty_id);
  TTY_DB_REQUIRE(entry_size >= sizeof(tty_db_tty_type), "Invalid entry size %d (need %d)",
                 entry_size, sizeof(tty_db_tty_type));
  TTY_DB_REQUIRE(tty != nullptr, "NULL TTY handle");
  if (const tty_db_lock lock{op, db_h, TTY_DB_WRITE}) {
    op.rc = tty_db_tty_register_internal(db_h, category, tty_id, entry_size, tty);
  }
  if (!op.ok() && tty != nullptr) *tty = nullptr;
  return op.exit();
}

uint32_t tty_db_tty_register_internal(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                      size_t entry_size, tty_db_tty_type **tty) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: category=%lu, tty_id=%lu, entry_size=%lu, tty=%X", db_h, category, tty_id,
               entry_size, tty);
  tty_db_need(op, TTY_DB_ASSERT_WRITELOCKED(db_h));
  TTY_DB_NEED(category >= TTY_CATEGORY_MIN && category <= TTY_CATEGORY_MAX);
  TTY_DB_NEED(entry_size >= sizeof(tty_db_tty_type));
  TTY_DB_NEED(tty != NULL);

  Registration made;
  if (op.ok()) {
    op.rc = build(op, db_h, category, tty_id, entry_size, &made);
    if (op.ok()) {
      publish(op, db_h, tty_id, made);
    } else {
      undo(op, db_h, made);
    }
  }
  if (tty != nullptr) *tty = op.ok() ? made.entry : nullptr;
  return op.exit();
}
