// The iterator record.
//
// (next_category, next_id) is the first position not yet examined; it only moves forward.  The
// iterator is at its end when next_category > end_category.

#ifndef TTY_DB_ITERATE_ITERATOR_H
#define TTY_DB_ITERATE_ITERATOR_H

#include "tty_db.h"

struct tty_db_iterator_type {
  uint32_t next_category;
  uint32_t next_id;
  uint32_t end_category;
  uint32_t end_id;
  tty_db_type *db_h;
};

#endif  // TTY_DB_ITERATE_ITERATOR_H
