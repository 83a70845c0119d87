// The node of an item.
//
// An entry's items form a singly linked list, most recently created first; keys are unique within
// it.  A node and its data are one allocation, which the library owns.

#ifndef TTY_DB_ITEM_ITEM_H
#define TTY_DB_ITEM_ITEM_H

#include <stddef.h>

#include "tty_db.h"

// The alignment gives the data, right behind the node, the alignment of malloc.
struct alignas(max_align_t) tty_db_item_type {
  tty_db_item_type *next_item;
  uint32_t key;
};

#endif  // TTY_DB_ITEM_ITEM_H
