// A category of a database: the list of its blocks, and the index over that list.
//
// The list is the truth: its blocks never overlap, lie within 0 .. TTY_PORT_MAX, and are in
// strictly ascending order of their ids.  The index says where in it to start.  Invariants:
//
// - buckets[b] is the first block, in list order, that holds an id of bucket b, or NULL;
// - bucket b is in buckets_in_use where buckets[b] is not NULL;
// - tail is the link at the end of the list, or NULL where the list is empty;
// - an id is in `registered` where a line is registered under it;
// - so that all of a category without blocks is zeros.
//
// src/block keeps them: block/index.h.

#ifndef TTY_DB_DB_CATEGORY_H
#define TTY_DB_DB_CATEGORY_H

#include "db/bitmap.h"
#include "tty_db.h"

// A bucket has this many ids: two automatic blocks.
constexpr uint32_t TTY_DB_BUCKET_SIZE = 2 * TTY_DB_AUTO_BLOCK_SIZE;
constexpr uint32_t TTY_DB_NUM_BUCKETS = TTY_PORT_MAX / TTY_DB_BUCKET_SIZE + 1;

struct tty_db_category_type {
  tty_db_block_type *first_block;
  tty_db_block_type **tail;
  tty_db_block_type *buckets[TTY_DB_NUM_BUCKETS];
  tty_db_bitmap<TTY_DB_NUM_BUCKETS> buckets_in_use;
  tty_db_bitmap<TTY_PORT_MAX + 1> registered;
};

#endif  // TTY_DB_DB_CATEGORY_H
