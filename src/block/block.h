// The block record and the lists that hold blocks.
//
// Each category of a database has one singly linked list of blocks.  Its blocks never overlap and
// are in strictly ascending order of first_tty; a block is in exactly one list, the one of its
// category, or on its way into one, between two places, or out for its end, in none.  A list is
// searched and changed through links: a link is the list's head or a block's next_block.
//
// Invariants of a block in a list: it has its slots, num_registered of them are not NULL, and the
// index has the same entries at its ids.

#ifndef TTY_DB_BLOCK_BLOCK_H
#define TTY_DB_BLOCK_BLOCK_H

#include "db/db.h"
#include "frame/operation.h"

struct tty_db_block_type {
  tty_db_block_type *next_block;      // NULL too while the block is in no list
  tty_db_block_details_type details;  // what callers see
  tty_db_tty_type **ttys;             // at least `capacity` slots; NULL: not registered
};

// The last id of a range that begins at an id.  In 64 bits, so that the sum cannot wrap.
inline uint64_t tty_db_last_id(uint32_t first_tty, uint32_t num_ttys) {
  return uint64_t{first_tty} + num_ttys - 1;
}

// The checks below are made by several operations, each under its own name and line.

// Checks, for a public operation, that a block may have a range of ids.
inline void tty_db_require_range(tty_db_operation &op, uint32_t first_tty, uint32_t num_ttys,
                                 int line = __builtin_LINE()) {
  TTY_DB_REQUIRE_AT(line, num_ttys > 0 && tty_db_last_id(first_tty, num_ttys) <= TTY_PORT_MAX,
                    "Invalid first TTY / number of TTYs");
}

// Asserts the same, for an internal routine: a block with an id above TTY_PORT_MAX could not be
// found in its list again.
inline void tty_db_need_range(tty_db_operation &op, uint32_t first_tty, uint32_t num_ttys,
                              int line = __builtin_LINE()) {
  const bool ends_in_time = tty_db_last_id(first_tty, num_ttys) <= TTY_PORT_MAX;
  tty_db_need(op,
              tty_db_assert(op, ends_in_time, "first_tty + num_ttys - 1 <= TTY_PORT_MAX", line));
  tty_db_need(op, tty_db_assert(op, num_ttys > 0, "num_ttys > 0", line));
}

// Checks the arguments that name a block of a database.
inline void tty_db_require_block(tty_db_operation &op, const tty_db_type *db_h, const void *block_h,
                                 int line = __builtin_LINE()) {
  TTY_DB_REQUIRE_AT(line, db_h != nullptr, "NULL DB handle");
  TTY_DB_REQUIRE_AT(line, block_h != nullptr, "NULL Block handle");
}

// Checks the options of a public operation that may give up registered lines.
inline void tty_db_require_block_options(tty_db_operation &op, uint32_t options,
                                         int line = __builtin_LINE()) {
  TTY_DB_REQUIRE_AT(line, (options & ~TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG) == 0,
                    "Invalid block options 0x%x", options);
}

// Checks, if the arguments are good, that the caller manages the blocks of the database.  Needs no
// lock: a database's options never change.
inline void tty_db_require_manual_blocks(tty_db_operation &op, const tty_db_type *db_h,
                                         int line = __builtin_LINE()) {
  if (!op.ok() || (db_h->options & TTY_DB_OPT_AUTO_BLOCKS) == 0) return;
  TTY_DB_SAY_AT(line, "DB has automatic block management");
  op.rc = TTY_DB_ERR_WRONG_MODE;
}

// One past the block's last id.
inline uint32_t tty_db_block_end(const tty_db_block_type *block) {
  return block->details.first_tty + block->details.capacity;
}

// The slot index of an id in a block.  An id below the block's first wraps to an index past the
// block.  It shouts because its name stands in the texts that assertions report.
inline uint32_t TTY_DB_TTY_ID_TO_BLOCK_INDEX(const tty_db_block_type *block, uint32_t tty_id) {
  return tty_id - block->details.first_tty;
}

// Asserts, for a routine that goes to the slot of an id, that the block has one.
inline bool tty_db_assert_slot(tty_db_speaker op, const tty_db_block_type *block, uint32_t tty_id) {
  return TTY_DB_ASSERT(block != NULL) &&
         TTY_DB_ASSERT(TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id) < block->details.capacity);
}

// Returns the entry that a block holds for an id, or NULL.  REQUIRES: the database lock; the id is
// in the block.
inline tty_db_tty_type *tty_db_entry_from_block(tty_db_speaker caller,
                                                const tty_db_block_type *block, uint32_t tty_id) {
  const tty_db_speaker op(caller.category);
  TTY_DB_SAY("Retrieving entry %lu from block %X", tty_id, block);
  if (!tty_db_assert_slot(op, block, tty_id) || block->ttys == nullptr) return nullptr;
  return block->ttys[TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id)];
}

// Stores an entry, or NULL, in the slot of an id.  REQUIRES: the write lock; the id is in the
// block.
inline void tty_db_set_entry_in_block(tty_db_speaker caller, tty_db_block_type *block,
                                      uint32_t tty_id, tty_db_tty_type *tty) {
  const tty_db_speaker op(caller.category);
  TTY_DB_SAY("Setting entry structure to %X for TTY %lu in block %X", tty, tty_id, block);
  if (!tty_db_assert_slot(op, block, tty_id)) return;
  block->ttys[TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id)] = tty;
}

#endif  // TTY_DB_BLOCK_BLOCK_H
