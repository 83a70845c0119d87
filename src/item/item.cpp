// The items of an entry.  No routine takes a lock: the caller holds the entry.

#include "item/item.h"

#include <stdlib.h>
#include <string.h>

#include "frame/assert.h"
#include "frame/checks.h"

namespace {

void *item_data(tty_db_item_type *item) { return item + 1; }

}  // namespace

uint32_t tty_db_item_find_insertion_point(tty_db_tty_type *tty, uint32_t item_key,
                                          tty_db_item_type ***insertion_point) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_ITEM, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..tty=%X, key=%lu, insertion_point=%X", tty, item_key, insertion_point);
  const bool has_entry = TTY_DB_ASSERT(tty != NULL);
  const bool has_output = TTY_DB_ASSERT(insertion_point != NULL);
  uint32_t rc = TTY_DB_ERR_INVALID_ARG;
  if (has_output) *insertion_point = nullptr;
  if (has_output && has_entry) {
    rc = TTY_DB_ERR_NO_ITEM;
    for (tty_db_item_type **link = &tty->item_list_head; *link != nullptr;
         link = &(*link)->next_item) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_ITEM, TTY_DB_TRACE_LINE, __func__, "Looking at item key %lu",
                      (*link)->key);
      if ((*link)->key != item_key) continue;
      TTY_DB_TRACE_IF(TTY_DB_TRACE_ITEM, TTY_DB_TRACE_LINE, __func__, "Match");
      *insertion_point = link;
      rc = 0;
      break;
    }
  }
  tty_db_trace_exit(TTY_DB_TRACE_ITEM, rc);
  return rc;
}

uint32_t tty_db_item_get(tty_db_tty_type *tty, uint32_t item_key, void **item) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_ITEM, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..tty=%X, key=%lu, item=%X", tty, item_key, item);
  uint32_t rc = 0;
  if (tty == nullptr) rc = tty_db_reject(TTY_DB_TRACE_ITEM, "NULL TTY entry pointer");
  if (item == nullptr) rc = tty_db_reject(TTY_DB_TRACE_ITEM, "NULL item output pointer");
  void *data = nullptr;
  if (rc == 0) {
    tty_db_item_type **insertion_point = nullptr;
    rc = tty_db_item_find_insertion_point(tty, item_key, &insertion_point);
    if (rc == 0) {
      if (TTY_DB_ASSERT(insertion_point != NULL) && TTY_DB_ASSERT(*insertion_point != NULL)) {
        TTY_DB_ASSERT((*insertion_point)->key == item_key);
        data = item_data(*insertion_point);
      } else {
        rc = TTY_DB_ERR_INVALID_ARG;
      }
    }
  }
  if (item != nullptr) *item = data;
  tty_db_trace_exit(TTY_DB_TRACE_ITEM, rc);
  return rc;
}

uint32_t tty_db_item_create(tty_db_tty_type *tty, uint32_t item_key, size_t size, void **new_item) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_ITEM, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..tty=%X, key=%lu, size=%lu, new_item=%X", tty, item_key, size,
                  new_item);
  uint32_t rc = 0;
  if (tty == nullptr) rc = tty_db_reject(TTY_DB_TRACE_ITEM, "NULL TTY entry pointer");
  if (size == 0) rc = tty_db_reject(TTY_DB_TRACE_ITEM, "0 size is illegal");
  if (new_item == nullptr) rc = tty_db_reject(TTY_DB_TRACE_ITEM, "NULL item output pointer");

  void *data = nullptr;
  if (rc == 0) {
    void *existing = nullptr;
    if (tty_db_item_get(tty, item_key, &existing) == 0) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_ITEM, TTY_DB_TRACE_LINE, __func__, "Item already exists");
      rc = TTY_DB_ERR_ITEM_EXISTS;
    }
  }
  if (rc == 0) {
    size_t total;
    const bool overflows = __builtin_add_overflow(sizeof(tty_db_item_type), size, &total);
    auto *node = overflows ? nullptr : static_cast<tty_db_item_type *>(calloc(1, total));
    if (node == nullptr) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_ITEM, TTY_DB_TRACE_LINE, __func__,
                      "malloc(%d) of item list structure failed", total);
      rc = TTY_DB_ERR_NO_MEMORY;
    } else {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_ITEM, TTY_DB_TRACE_LINE, __func__,
                      "List item structure %X allocated", node);
      node->key = item_key;
      node->next_item = tty->item_list_head;
      tty->item_list_head = node;
      data = item_data(node);
    }
  }
  if (new_item != nullptr) *new_item = data;
  tty_db_trace_exit(TTY_DB_TRACE_ITEM, rc);
  return rc;
}

uint32_t tty_db_item_destroy(tty_db_tty_type *tty, uint32_t item_key) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_ITEM, TTY_DB_TRACE_ENTRY, __func__, "Entering ..tty=%X, key=%lu",
                  tty, item_key);
  uint32_t rc = 0;
  tty_db_item_type **insertion_point = nullptr;
  if (tty == nullptr) rc = tty_db_reject(TTY_DB_TRACE_ITEM, "NULL TTY entry pointer");
  if (rc == 0) rc = tty_db_item_find_insertion_point(tty, item_key, &insertion_point);
  tty_db_item_type *list_item = nullptr;
  if (rc == 0) {
    if (TTY_DB_ASSERT(insertion_point != NULL)) list_item = *insertion_point;
    if (!TTY_DB_ASSERT(list_item != NULL)) rc = TTY_DB_ERR_INVALID_ARG;
  }
  if (rc == 0) {
    TTY_DB_ASSERT(list_item->key == item_key);
    *insertion_point = list_item->next_item;
    TTY_DB_TRACE_IF(TTY_DB_TRACE_ITEM, TTY_DB_TRACE_LINE, __func__,
                    "Freeing item list structure %X", list_item);
    explicit_bzero(list_item, sizeof(*list_item));
    TTY_DB_ASSERT((list_item) != NULL);
    free(list_item);
  }
  tty_db_trace_exit(TTY_DB_TRACE_ITEM, rc);
  return rc;
}
