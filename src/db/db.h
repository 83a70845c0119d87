// The database record, and the directory of a category's blocks.
//
// Invariants: num_blocks is the number of blocks on the six lists, num_ttys the number of
// registered lines, and both are 0 when the record is freed.  `options` never changes; the rest
// changes only under the write lock.

#ifndef TTY_DB_DB_DB_H
#define TTY_DB_DB_DB_H

#include "tty_db.h"

constexpr uint32_t TTY_DB_NUM_CATEGORIES = TTY_CATEGORY_MAX + 1;

// The directory divides the ids of a category into runs of this many: two automatic blocks.
constexpr uint32_t TTY_DB_RUN_SIZE = 2 * TTY_DB_AUTO_BLOCK_SIZE;
constexpr uint32_t TTY_DB_NUM_RUNS = TTY_PORT_MAX / TTY_DB_RUN_SIZE + 1;

// A set of the numbers below `N`.
template <uint32_t N>
using tty_db_bits = uint64_t[(N + 63) / 64];

// Where to start in a category's block list, and which of its ids are registered; see
// block/directory.h.
struct tty_db_directory_type {
  tty_db_block_type *first_in_run[TTY_DB_NUM_RUNS];
  tty_db_block_type **tail;
  tty_db_bits<TTY_DB_NUM_RUNS> runs_in_use;
  tty_db_bits<TTY_PORT_MAX + 1> registered;
};

struct tty_db_type {
  pthread_rwlock_t rwlock;
  uint32_t options;
  uint32_t num_blocks;
  uint32_t num_ttys;
  tty_db_block_type *block_lists[TTY_DB_NUM_CATEGORIES];  // by category; see block/block.h
  tty_db_directory_type directories[TTY_DB_NUM_CATEGORIES];
};

#endif  // TTY_DB_DB_DB_H
