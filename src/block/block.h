// The block record and the block lists.
//
// Each category of a database has a singly linked list of blocks, which never overlap and are
// sorted by first_tty.  A block is in the list of its category, except while it is reserved,
// resized or released: then it is in no list.  A link is the head of a list or the next_block of a
// block.
//
// Invariants of a block in a list: its slots are allocated, num_registered of them are not NULL,
// and the index has the same entries at its ids.

#ifndef TTY_DB_BLOCK_BLOCK_H
#define TTY_DB_BLOCK_BLOCK_H

#include "db/db.h"
#include "frame/operation.h"

struct tty_db_block_type {
  tty_db_block_type *next_block;      // NULL while the block is in no list
  tty_db_block_details_type details;  // copied to callers
  tty_db_tty_type **ttys;             // at least `capacity` slots; NULL in an empty slot
};

// Returns the last id of a range.  64 bits, so that the sum cannot wrap.
inline uint64_t tty_db_last_id(uint32_t first_tty, uint32_t num_ttys) {
  return uint64_t{first_tty} + num_ttys - 1;
}

// The checks below trace the name and the source line of the operation that calls them.

// Checks a range of ids, for a public operation.
inline void tty_db_require_range(tty_db_operation &op, uint32_t first_tty, uint32_t num_ttys,
                                 int line = __builtin_LINE()) {
  TTY_DB_REQUIRE_AT(line, num_ttys > 0 && tty_db_last_id(first_tty, num_ttys) <= TTY_PORT_MAX,
                    "Invalid first TTY / number of TTYs");
}

// Asserts the same, for an internal routine: a block with an id above TTY_PORT_MAX could not be
// found again.
inline void tty_db_need_range(tty_db_operation &op, uint32_t first_tty, uint32_t num_ttys,
                              int line = __builtin_LINE()) {
  const bool ends_in_time = tty_db_last_id(first_tty, num_ttys) <= TTY_PORT_MAX;
  tty_db_need(op,
              tty_db_assert(op, ends_in_time, "first_tty + num_ttys - 1 <= TTY_PORT_MAX", line));
  tty_db_need(op, tty_db_assert(op, num_ttys > 0, "num_ttys > 0", line));
}

// Checks that a database and a block are not NULL.
inline void tty_db_require_block(tty_db_operation &op, const tty_db_type *db_h, const void *block_h,
                                 int line = __builtin_LINE()) {
  TTY_DB_REQUIRE_AT(line, db_h != nullptr, "NULL DB handle");
  TTY_DB_REQUIRE_AT(line, block_h != nullptr, "NULL Block handle");
}

// Checks the options of release and resize.
inline void tty_db_require_block_options(tty_db_operation &op, uint32_t options,
                                         int line = __builtin_LINE()) {
  TTY_DB_REQUIRE_AT(line, (options & ~TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG) == 0,
                    "Invalid block options 0x%x", options);
}

// If all arguments are valid, checks that the database has manual block management.  Needs no lock:
// the options never change.
inline void tty_db_require_manual_blocks(tty_db_operation &op, const tty_db_type *db_h,
                                         int line = __builtin_LINE()) {
  if (!op.ok() || (db_h->options & TTY_DB_OPT_AUTO_BLOCKS) == 0) return;
  TTY_DB_SAY_AT(line, "DB has automatic block management");
  op.rc = TTY_DB_ERR_WRONG_MODE;
}

// Returns the id after the last id of a block.
inline uint32_t tty_db_block_end(const tty_db_block_type *block) {
  return block->details.first_tty + block->details.capacity;
}

// Returns the slot index of an id.  An id below the block wraps to an index beyond it.  Upper case
// because assertions report this name.
inline uint32_t TTY_DB_TTY_ID_TO_BLOCK_INDEX(const tty_db_block_type *block, uint32_t tty_id) {
  return tty_id - block->details.first_tty;
}

// Asserts that a block has a slot for an id.
inline bool tty_db_assert_slot(tty_db_speaker op, const tty_db_block_type *block, uint32_t tty_id) {
  return TTY_DB_ASSERT(block != NULL) &&
         TTY_DB_ASSERT(TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id) < block->details.capacity);
}

// Returns the entry in the slot of an id, or NULL.  REQUIRES: the database lock; the block contains
// the id.
inline tty_db_tty_type *tty_db_entry_from_block(tty_db_speaker caller,
                                                const tty_db_block_type *block, uint32_t tty_id) {
  const tty_db_speaker op(caller.category);
  TTY_DB_SAY("Retrieving entry %lu from block %X", tty_id, block);
  if (!tty_db_assert_slot(op, block, tty_id) || block->ttys == nullptr) return nullptr;
  return block->ttys[TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id)];
}

// Stores an entry, or NULL, in the slot of an id.  REQUIRES: the write lock; the block contains the
// id.
inline void tty_db_set_entry_in_block(tty_db_speaker caller, tty_db_block_type *block,
                                      uint32_t tty_id, tty_db_tty_type *tty) {
  const tty_db_speaker op(caller.category);
  TTY_DB_SAY("Setting entry structure to %X for TTY %lu in block %X", tty, tty_id, block);
  if (!tty_db_assert_slot(op, block, tty_id)) return;
  block->ttys[TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id)] = tty;
}

#endif  // TTY_DB_BLOCK_BLOCK_H
