// The database record.
//
// Invariants: num_blocks is the number of blocks on the six lists, num_ttys the number of
// registered lines, and both are 0 when the record is freed.  `options` never changes; the rest
// changes only under the write lock.

#ifndef TTY_DB_DB_DB_H
#define TTY_DB_DB_DB_H

#include "tty_db.h"

constexpr uint32_t TTY_DB_NUM_CATEGORIES = TTY_CATEGORY_MAX + 1;

struct tty_db_type {
  pthread_rwlock_t rwlock;
  uint32_t options;
  uint32_t num_blocks;
  uint32_t num_ttys;
  tty_db_block_type *block_lists[TTY_DB_NUM_CATEGORIES];  // by category; see block/block.h
};

#endif  // TTY_DB_DB_DB_H
