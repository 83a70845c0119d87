// The directory of a category's blocks, and the links that it is kept with.
//
// The list of blocks is the truth; the directory says where in it to start, so that an id is found
// without a walk from the head.  It has one entry for each run of TTY_DB_RUN_SIZE ids.  Invariants:
//
// - first_in_run[r] is the first block, in list order, that holds an id of run r, or NULL;
// - bit r of runs_in_use is set where first_in_run[r] is not NULL;
// - tail is the link at the end of the list;
// - bit i of `registered` is set where a line is registered under id i.
//
// Blocks lie within 0 .. TTY_PORT_MAX.  REQUIRES, of all: the database lock, and to change anything
// the write lock.

#ifndef TTY_DB_BLOCK_DIRECTORY_H
#define TTY_DB_BLOCK_DIRECTORY_H

#include "block/block.h"

// Links a block, which is in no list, in front of the block that a link holds.
void tty_db_block_link(tty_db_type *db, tty_db_block_type **link, tty_db_block_type *block);

// Unlinks the block that a link holds.
void tty_db_block_unlink(tty_db_type *db, tty_db_block_type **link);

// Returns a link from which a walk along the list finds the first block that does not end at or
// before an id: it lies at or ahead of that block, and no more than a run's blocks ahead.
tty_db_block_type **tty_db_directory_start(tty_db_type *db, uint32_t category, uint32_t tty_id);

// Returns the block that holds an id, or NULL.
inline tty_db_block_type *tty_db_directory_find(const tty_db_type *db, uint32_t category,
                                                uint32_t tty_id) {
  tty_db_block_type *block = db->directories[category].first_in_run[tty_id / TTY_DB_RUN_SIZE];
  while (block != nullptr && tty_id >= tty_db_block_end(block)) block = block->next_block;
  return block != nullptr && tty_id >= block->details.first_tty ? block : nullptr;
}

// Notes whether a line is registered under an id.
inline void tty_db_directory_set_registered(tty_db_type *db, uint32_t category, uint32_t tty_id,
                                            bool registered) {
  uint64_t *word = &db->directories[category].registered[tty_id / 64];
  const uint64_t bit = uint64_t{1} << tty_id % 64;
  *word = registered ? *word | bit : *word & ~bit;
}

// Returns the first registered id from `first` to `last`, or an id greater than `last`.
uint32_t tty_db_directory_next_registered(const tty_db_type *db, uint32_t category, uint32_t first,
                                          uint32_t last);

#endif  // TTY_DB_BLOCK_DIRECTORY_H
