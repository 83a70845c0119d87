// A category of a database: the list of its blocks, and the index over that list.
//
// The list is the truth: its blocks never overlap, lie within 0 .. TTY_PORT_MAX, and are in
// strictly ascending order of their ids.  The index leads from an id to what is there, without a
// walk along the list.  Invariants:
//
// - entries[i] is the entry in the slot of id i, or NULL where there is no slot or nothing in it;
// - id i is in `registered` where entries[i] is not NULL;
// - id i is in `reserved` where a block holds it;
// - buckets[b] is the first block, in list order, that holds an id of bucket b, or NULL;
// - tail is the link at the end of the list, or NULL where the list is empty;
// - so that all of a category without blocks is zeros.
//
// What nobody has touched of the index takes no memory: it is zeros as the kernel hands them out.
// src/block keeps the invariants: block/index.h.

#ifndef TTY_DB_DB_CATEGORY_H
#define TTY_DB_DB_CATEGORY_H

#include "db/bitmap.h"
#include "tty_db.h"

// The ids of a bucket are those of an automatic block.
constexpr uint32_t TTY_DB_BUCKET_SIZE = TTY_DB_AUTO_BLOCK_SIZE;
constexpr uint32_t TTY_DB_NUM_BUCKETS = TTY_PORT_MAX / TTY_DB_BUCKET_SIZE + 1;

struct tty_db_category_type {
  tty_db_block_type *first_block;
  tty_db_block_type **tail;
  tty_db_bitmap<TTY_PORT_MAX + 1> registered;
  tty_db_bitmap<TTY_PORT_MAX + 1> reserved;
  tty_db_block_type *buckets[TTY_DB_NUM_BUCKETS];
  tty_db_tty_type *entries[TTY_PORT_MAX + 1];
};

#endif  // TTY_DB_DB_CATEGORY_H
