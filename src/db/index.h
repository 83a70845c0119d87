// The index of a database: finds the entry and the block of an id without a walk of the block list.
//
// Invariants, for a category with blocks:
//
// - entry(id) is the entry in the slot of the id, or NULL;
// - `registered` contains the ids whose entry is not NULL;
// - block(id) is the block that begins at the id, or NULL;
// - `firsts` contains the ids at which a block begins.
//
// While a block is released or resized it is in no list, but its lines stay in the index until they
// are deregistered.  A category without blocks has an empty index, whose pages take no memory if it
// never had one.  block/index.h has the operations.

#ifndef TTY_DB_DB_INDEX_H
#define TTY_DB_DB_INDEX_H

#include <stddef.h>

#include "db/bitmap.h"
#include "tty_db.h"

constexpr uint32_t TTY_DB_NUM_IDS = TTY_PORT_MAX + 1;

// Each category begins on a new page of 4 KiB.
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
static_assert(sizeof(void *) != 8 || sizeof(tty_db_index_type) == size_t{960} * 1024);

// Maps an empty index; only pages that are written take memory.  Returns NULL on failure.
tty_db_index_type *tty_db_map_index();

void tty_db_unmap_index(tty_db_index_type *index);

#endif  // TTY_DB_DB_INDEX_H
