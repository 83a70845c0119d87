// The index of a database: for each category, what lies at an id.
//
// The lists of blocks are the truth, the index leads into them without a walk.  Invariants, for a
// category whose list is not empty:
//
// - entry(id) is the entry in the slot of the id, or NULL if there is none;
// - `registered` has the ids whose entry is not NULL;
// - block(id) is the block of the list that begins at the id, or NULL if none does;
// - `firsts` has the ids at which a block begins.
//
// A line of a block that is being released or resized, and so is in no list, stays in the index
// until it is deregistered.  A category whose list is empty has nothing in the index, and is not
// looked at: its pages are never touched.  block/index.h has the operations.

#ifndef TTY_DB_DB_INDEX_H
#define TTY_DB_DB_INDEX_H

#include "db/bitmap.h"
#include "tty_db.h"

constexpr uint32_t TTY_DB_NUM_IDS = TTY_PORT_MAX + 1;

// Each category begins on a page of its own, where pages have 4 KiB.
struct alignas(4096) tty_db_category_index {
  tty_db_tty_type *&entry(uint32_t tty_id) { return groups[tty_id / 8].entries[tty_id % 8]; }
  tty_db_block_type *&block(uint32_t tty_id) { return groups[tty_id / 8].blocks[tty_id % 8]; }

  tty_db_bitmap<TTY_DB_NUM_IDS> registered;
  tty_db_bitmap<TTY_DB_NUM_IDS> firsts;

  // Eight ids: a cache line of entries and one of blocks, on one page.
  struct alignas(64) {
    tty_db_tty_type *entries[8];
    tty_db_block_type *blocks[8];
  } groups[TTY_PORT_MAX / 8 + 1];
};

struct tty_db_index_type {
  tty_db_category_index categories[TTY_CATEGORY_MAX + 1];
};

// Maps an empty index, of which only what is written to takes memory.  Returns NULL if it cannot.
tty_db_index_type *tty_db_map_index();

// Unmaps an index.
void tty_db_unmap_index(tty_db_index_type *index);

#endif  // TTY_DB_DB_INDEX_H
