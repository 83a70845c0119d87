// The node of an item.
//
// The items of an entry are a singly linked list with unique keys, newest first.  A node and its
// data are one allocation, which the library owns.

#ifndef TTY_DB_ITEM_ITEM_H
#define TTY_DB_ITEM_ITEM_H

#include <stddef.h>

#include "tty_db.h"

// Aligned so that the data, right after the node, has the alignment of malloc.
struct alignas(max_align_t) tty_db_item_type {
  tty_db_item_type *next_item;
  uint32_t key;
};

#endif  // TTY_DB_ITEM_ITEM_H
