// The block lists and the index (see db/index.h), searched and changed together.  Only the
// functions here change the index.

#ifndef TTY_DB_BLOCK_INDEX_H
#define TTY_DB_BLOCK_INDEX_H

#include <algorithm>

#include "block/block.h"

// Returns the index of a category.  Needs no lock: the address never changes.
inline tty_db_category_index &tty_db_index_of(const tty_db_type *db, uint32_t category) {
  return db->index->categories[category];
}

// Returns the last block that begins below `bound`, or NULL.  REQUIRES: bound <= TTY_DB_NUM_IDS.
inline tty_db_block_type *tty_db_index_last_block_below(const tty_db_type *db, uint32_t category,
                                                        uint32_t bound) TTY_DB_REQUIRES_READ(db) {
  if (db->block_lists[category] == nullptr) return nullptr;
  tty_db_category_index &index = tty_db_index_of(db, category);
  const uint32_t first = index.firsts.last_below(bound);
  return first < TTY_DB_NUM_IDS ? index.block(first) : nullptr;
}

// Returns the last block that begins at or below an id, or NULL.
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

// Returns the link to the first block that ends after an id: the block that contains the id, or the
// next block, or the end of the list.
inline tty_db_block_type **tty_db_index_find_link(tty_db_type *db, uint32_t category,
                                                  uint32_t tty_id) TTY_DB_REQUIRES_READ(db) {
  tty_db_block_type *before = tty_db_index_last_block_up_to(db, category, tty_id);
  if (before != nullptr && tty_id < tty_db_block_end(before)) {
    before = tty_db_index_last_block_below(db, category, before->details.first_tty);
  }
  return before != nullptr ? &before->next_block : &db->block_lists[category];
}

// Inserts a block, which is in no list, at a link of its category.
void tty_db_index_link(tty_db_type *db, tty_db_block_type **link, tty_db_block_type *block)
    TTY_DB_REQUIRES_WRITE(db);

// Removes the block that a link points to from its list.
void tty_db_index_unlink(tty_db_type *db, tty_db_block_type **link) TTY_DB_REQUIRES_WRITE(db);

// Returns the address of the index's pointer to an entry, and prefetches that pointer.  Needs no
// lock: a prefetch is not an access.
inline tty_db_tty_type *const *tty_db_index_prefetch_entry(const tty_db_type *db, uint32_t category,
                                                           uint32_t tty_id) {
  tty_db_tty_type *const *entry = &tty_db_index_of(db, category).entry(tty_id);
  __builtin_prefetch(entry);
  asm("" : "+r"(entry));  // or the compiler computes the address again
  return entry;
}

// Returns the first registered id of a category from an id on, or an id above TTY_PORT_MAX.  Reads
// the index even if the list is empty, because a block under change is in no list.
inline uint32_t tty_db_index_next_registered(const tty_db_type *db, uint32_t category,
                                             uint32_t tty_id) TTY_DB_REQUIRES_READ(db) {
  return tty_db_index_of(db, category).registered.first_from(tty_id);
}

// Add and remove a line: set its slot, the index and the counts of the block and the database, and
// trace with the source line of the caller.  REQUIRES: the block contains the id; to add, the line
// is not registered; to remove, it is.
void tty_db_index_put_line(tty_db_speaker op, tty_db_type *db, tty_db_block_type *block,
                           uint32_t tty_id, tty_db_tty_type *tty, int line = __builtin_LINE())
    TTY_DB_REQUIRES_WRITE(db);
void tty_db_index_take_line(tty_db_speaker op, tty_db_type *db, tty_db_block_type *block,
                            uint32_t tty_id, int line = __builtin_LINE()) TTY_DB_REQUIRES_WRITE(db);

#endif  // TTY_DB_BLOCK_INDEX_H
