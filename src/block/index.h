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

// Says whether a block holds an id.
inline bool tty_db_index_is_reserved(const tty_db_type *db, uint32_t category, uint32_t tty_id)
    TTY_DB_REQUIRES_READ(db) {
  return db->categories[category].reserved.has(tty_id);
}

// Returns the block that holds an id, or NULL.
inline tty_db_block_type *tty_db_index_find_block(const tty_db_type *db, uint32_t category,
                                                  uint32_t tty_id) TTY_DB_REQUIRES_READ(db) {
  if (!tty_db_index_is_reserved(db, category, tty_id)) return nullptr;
  tty_db_block_type *block = db->categories[category].buckets[tty_id / TTY_DB_BUCKET_SIZE];
  while (tty_id >= tty_db_block_end(block)) block = block->next_block;
  return block;
}

// Returns the entry of the line that is registered under an id, or NULL.
inline tty_db_tty_type *tty_db_index_find_entry(const tty_db_type *db, uint32_t category,
                                                uint32_t tty_id) TTY_DB_REQUIRES_READ(db) {
  return db->categories[category].entries[tty_id];
}

// Notes the entry of the line that is registered under an id, and that it is registered no more.
inline void tty_db_index_add_entry(tty_db_type *db, uint32_t category, uint32_t tty_id,
                                   tty_db_tty_type *tty) TTY_DB_REQUIRES_WRITE(db) {
  db->categories[category].entries[tty_id] = tty;
  db->categories[category].registered.insert(tty_id);
}
inline void tty_db_index_remove_entry(tty_db_type *db, uint32_t category, uint32_t tty_id)
    TTY_DB_REQUIRES_WRITE(db) {
  db->categories[category].entries[tty_id] = nullptr;
  db->categories[category].registered.erase(tty_id);
}

// Returns the first registered id from an id on, or one above TTY_PORT_MAX.
inline uint32_t tty_db_index_next_registered(const tty_db_type *db, uint32_t category,
                                             uint32_t tty_id) TTY_DB_REQUIRES_READ(db) {
  return db->categories[category].registered.next(tty_id);
}

#endif  // TTY_DB_BLOCK_INDEX_H
