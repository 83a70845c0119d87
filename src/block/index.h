// The lists of blocks and the index over them, which db/index.h describes: searched and changed
// together.  The index changes where a block is linked and unlinked, and where a line is put and
// taken, and nowhere else.

#ifndef TTY_DB_BLOCK_INDEX_H
#define TTY_DB_BLOCK_INDEX_H

#include <algorithm>

#include "block/block.h"

// Returns a category's part of the index.  Needs no lock: the address never changes.
inline tty_db_category_index &tty_db_index_of(const tty_db_type *db, uint32_t category) {
  return db->index->categories[category];
}

// Returns the last block that begins below `bound`, which is at most TTY_DB_NUM_IDS, or NULL.
inline tty_db_block_type *tty_db_index_last_block_below(const tty_db_type *db, uint32_t category,
                                                        uint32_t bound) TTY_DB_REQUIRES_READ(db) {
  if (db->block_lists[category] == nullptr) return nullptr;
  tty_db_category_index &index = tty_db_index_of(db, category);
  const uint32_t first = index.firsts.last_below(bound);
  return first < TTY_DB_NUM_IDS ? index.block(first) : nullptr;
}

// Returns the last block that begins at an id or below, or NULL.
inline tty_db_block_type *tty_db_index_last_block_up_to(const tty_db_type *db, uint32_t category,
                                                        uint32_t tty_id) TTY_DB_REQUIRES_READ(db) {
  return tty_db_index_last_block_below(db, category, std::min(tty_id, TTY_PORT_MAX) + 1);
}

// Returns the block that contains an id, or NULL.
inline tty_db_block_type *tty_db_index_find_block(const tty_db_type *db, uint32_t category,
                                                  uint32_t tty_id) TTY_DB_REQUIRES_READ(db) {
  tty_db_block_type *block = tty_db_index_last_block_up_to(db, category, tty_id);
  return block != nullptr && tty_id < tty_db_block_end(block) ? block : nullptr;
}

// Returns whether a block is in its list.
inline bool tty_db_index_has_block(const tty_db_type *db, const tty_db_block_type *block)
    TTY_DB_REQUIRES_READ(db) {
  return db->block_lists[block->details.category] != nullptr &&
         tty_db_index_of(db, block->details.category).block(block->details.first_tty) == block;
}

// Returns the link to the first block that ends after an id: to the block that contains the id, or
// else to the next one above it, or else the end of the list.
inline tty_db_block_type **tty_db_index_find_link(tty_db_type *db, uint32_t category,
                                                  uint32_t tty_id) TTY_DB_REQUIRES_READ(db) {
  tty_db_block_type *before = tty_db_index_last_block_up_to(db, category, tty_id);
  if (before != nullptr && tty_id < tty_db_block_end(before)) {
    before = tty_db_index_last_block_below(db, category, before->details.first_tty);
  }
  return before != nullptr ? &before->next_block : &db->block_lists[category];
}

// Links a block, which is in no list, in front of the block that a link of its category points to.
void tty_db_index_link(tty_db_type *db, tty_db_block_type **link, tty_db_block_type *block)
    TTY_DB_REQUIRES_WRITE(db);

// Unlinks the block that a link points to.
void tty_db_index_unlink(tty_db_type *db, tty_db_block_type **link) TTY_DB_REQUIRES_WRITE(db);

// Returns where the index has the entry of a line, and fetches it into the cache.  Needs no lock: a
// prefetch is not an access.
inline tty_db_tty_type *const *tty_db_index_prefetch_entry(const tty_db_type *db, uint32_t category,
                                                           uint32_t tty_id) {
  tty_db_tty_type *const *entry = &tty_db_index_of(db, category).entry(tty_id);
  __builtin_prefetch(entry);
  asm("" : "+r"(entry));  // keeps the compiler from computing the address again later
  return entry;
}

// Returns the first registered id of a category from an id on, or one above TTY_PORT_MAX.  Looks
// into a category whose list is empty, too: its last block may be on its way out.
inline uint32_t tty_db_index_next_registered(const tty_db_type *db, uint32_t category,
                                             uint32_t tty_id) TTY_DB_REQUIRES_READ(db) {
  return tty_db_index_of(db, category).registered.first_from(tty_id);
}

// Puts the entry of a line into its block, and takes it out again: the slot, the index, and the
// counts of the block and the database, with their trace lines.  The line of the source is the
// caller's.  REQUIRES: the block has the id; no line is registered there, or one is.
void tty_db_index_put_line(tty_db_speaker op, tty_db_type *db, tty_db_block_type *block,
                           uint32_t tty_id, tty_db_tty_type *tty, int line = __builtin_LINE())
    TTY_DB_REQUIRES_WRITE(db);
void tty_db_index_take_line(tty_db_speaker op, tty_db_type *db, tty_db_block_type *block,
                            uint32_t tty_id, int line = __builtin_LINE()) TTY_DB_REQUIRES_WRITE(db);

#endif  // TTY_DB_BLOCK_INDEX_H
