// A category's list of blocks, searched and changed together with the index over it, whose
// invariants db/category.h states.  The index changes where a block is linked and unlinked, and
// where a line comes and goes, and nowhere else.

#ifndef TTY_DB_BLOCK_INDEX_H
#define TTY_DB_BLOCK_INDEX_H

#include "block/block.h"

// Links a block, which is in no list, in front of the block that a link of its category holds.
void tty_db_index_link(tty_db_type *db, tty_db_block_type **link, tty_db_block_type *block)
    TTY_DB_REQUIRES_WRITE(db);

// Unlinks a block from the list that it is in.
void tty_db_index_unlink(tty_db_type *db, tty_db_block_type *block) TTY_DB_REQUIRES_WRITE(db);

// Returns the link that holds the first block that does not end at or before an id: the block with
// the id, or else the next above it, or else NULL, at the end of the list.
tty_db_block_type **tty_db_index_find_link(tty_db_type *db, uint32_t category, uint32_t tty_id)
    TTY_DB_REQUIRES_READ(db);

// Returns the block that holds an id, or NULL.
inline tty_db_block_type *tty_db_index_find_block(const tty_db_type *db, uint32_t category,
                                                  uint32_t tty_id) TTY_DB_REQUIRES_READ(db) {
  tty_db_block_type *block = db->categories[category].buckets[tty_id / TTY_DB_BUCKET_SIZE];
  while (block != nullptr && tty_id >= tty_db_block_end(block)) block = block->next_block;
  return block != nullptr && tty_id >= block->details.first_tty ? block : nullptr;
}

// Notes whether a line is registered under an id.
inline void tty_db_index_set_registered(tty_db_type *db, uint32_t category, uint32_t tty_id,
                                        bool registered) TTY_DB_REQUIRES_WRITE(db) {
  db->categories[category].registered.set(tty_id, registered);
}

// Returns the first registered id from `first` to `last`, or an id greater than `last`.
inline uint32_t tty_db_index_next_registered(const tty_db_type *db, uint32_t category,
                                             uint32_t first, uint32_t last)
    TTY_DB_REQUIRES_READ(db) {
  return db->categories[category].registered.next(first, last + 1);
}

#endif  // TTY_DB_BLOCK_INDEX_H
