// The database record.
//
// Invariants: num_blocks is the number of blocks in the six lists, num_ttys the number of
// registered lines; both are 0 when the record is freed.  `options` and `index` never change; the
// rest and the content of the index change only under the write lock.

#ifndef TTY_DB_DB_DB_H
#define TTY_DB_DB_DB_H

#include "db/index.h"
#include "frame/thread_safety.h"
#include "tty_db.h"

struct TTY_DB_LOCKABLE tty_db_type {
  pthread_rwlock_t rwlock;
  uint32_t options;
  uint32_t num_blocks TTY_DB_GUARDED;
  uint32_t num_ttys TTY_DB_GUARDED;
  tty_db_block_type *block_lists[TTY_CATEGORY_MAX + 1] TTY_DB_GUARDED;
  tty_db_index_type *index TTY_DB_POINTS_TO_GUARDED;
};

#endif  // TTY_DB_DB_DB_H
