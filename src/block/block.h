// The block record and the lists that hold blocks.
//
// Each category of a database has one singly linked list of blocks.  Its blocks never overlap and
// are in strictly ascending order of first_tty; a block is in exactly one list, the one of its
// category.  A list is searched and changed through links: a link is the list's head or a block's
// next_block.

#ifndef TTY_DB_BLOCK_BLOCK_H
#define TTY_DB_BLOCK_BLOCK_H

#include <stddef.h>

#include "db/db.h"
#include "frame/assert.h"
#include "frame/trace.h"

struct tty_db_block_type {
  tty_db_block_type *next_block;      // NULL too while the block is in no list
  tty_db_block_details_type details;  // what callers see
  tty_db_tty_type **ttys;             // at least `capacity` slots; NULL: not registered
  tty_db_block_type **link;           // the link that holds this block; NULL while none does
  bool under_release;                 // its TTYs are being deregistered for its own release
};

// The slot index of an id in a block.  An id below the block's first wraps to an index past the
// block.
inline uint32_t TTY_DB_TTY_ID_TO_BLOCK_INDEX(const tty_db_block_type *block, uint32_t tty_id) {
  return tty_id - block->details.first_tty;
}

// One past the block's last id.
inline uint32_t tty_db_block_end(const tty_db_block_type *block) {
  return block->details.first_tty + block->details.capacity;
}

// Returns the entry in the slot of an id of a block, or NULL.
inline tty_db_tty_type *tty_db_block_slot(const tty_db_block_type *block, uint32_t tty_id) {
  if (block->ttys == nullptr) return nullptr;
  return block->ttys[TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id)];
}

// Returns the entry that a block holds for an id, or NULL.  Traces into the caller's category.
// REQUIRES: the database lock; the id is in the block.
inline tty_db_tty_type *tty_db_entry_from_block(const tty_db_block_type *block, uint32_t tty_id,
                                                tty_db_trace_category category) {
  TTY_DB_TRACE_IF(category, TTY_DB_TRACE_LINE, __func__, "Retrieving entry %lu from block %X",
                  tty_id, block);
  if (!TTY_DB_ASSERT(block != NULL)) return nullptr;
  if (!TTY_DB_ASSERT(TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id) < block->details.capacity)) {
    return nullptr;
  }
  return tty_db_block_slot(block, tty_id);
}

// Refuses a block operation on a database that manages its blocks by itself.  Needs no lock.
inline uint32_t tty_db_block_check_mode(const tty_db_type *db_h,
                                        const char *routine = __builtin_FUNCTION()) {
  if ((db_h->options & TTY_DB_OPT_AUTO_BLOCKS) == 0) return 0;
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, routine,
                  "DB has automatic block management");
  return TTY_DB_ERR_WRONG_MODE;
}

// Asserts, for the calling routine, that a block may have a range: a block outside the ids could
// not be found in its list again.
inline bool tty_db_block_assert_range(uint32_t first_tty, uint32_t num_ttys,
                                      const char *routine = __builtin_FUNCTION(),
                                      int line = __builtin_LINE()) {
  // In 64 bits, so that the sum cannot wrap.
  const bool ends_in_range =
      tty_db_assert(uint64_t{first_tty} + num_ttys - 1 <= TTY_PORT_MAX, routine, line,
                    "first_tty + num_ttys - 1 <= TTY_PORT_MAX");
  return tty_db_assert(num_ttys > 0, routine, line, "num_ttys > 0") && ends_in_range;
}

#endif  // TTY_DB_BLOCK_BLOCK_H
