// The items of an entry.  REQUIRES: no other thread uses the entry.

#include "item/item.h"

#include <stdlib.h>
#include <string.h>

#include "frame/operation.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_ITEM;

void *item_data(tty_db_item_type *item) { return item + 1; }

// Returns the link to the item that has the key, or NULL.
tty_db_item_type **find_link(tty_db_speaker op, tty_db_tty_type *tty, uint32_t item_key) {
  tty_db_item_type **link = &tty->item_list_head;
  for (; *link != nullptr; link = &(*link)->next_item) {
    TTY_DB_SAY("Looking at item key %lu", (*link)->key);
    if ((*link)->key != item_key) continue;
    TTY_DB_SAY("Match");
    return link;
  }
  return nullptr;
}

// Checks that no item of an entry has the key.  Returns 0 or TTY_DB_ERR_ITEM_EXISTS.
uint32_t check_key_is_free(tty_db_speaker op, tty_db_tty_type *tty, uint32_t item_key) {
  void *existing = nullptr;
  if (tty_db_item_get(tty, item_key, &existing) != 0) return 0;
  TTY_DB_SAY("Item already exists");
  return TTY_DB_ERR_ITEM_EXISTS;
}

// Allocates the node of an item and `size` zero bytes of data.  Returns 0 or TTY_DB_ERR_NO_MEMORY.
uint32_t allocate_node(tty_db_speaker op, size_t size, tty_db_item_type **node) {
  size_t total;
  const bool overflows = __builtin_add_overflow(sizeof(tty_db_item_type), size, &total);
  *node = overflows ? nullptr : static_cast<tty_db_item_type *>(calloc(1, total));
  if (*node == nullptr) {
    TTY_DB_SAY("malloc(%d) of item list structure failed", total);
    return TTY_DB_ERR_NO_MEMORY;
  }
  TTY_DB_SAY("List item structure %X allocated", *node);
  return 0;
}

}  // namespace

uint32_t tty_db_item_find_insertion_point(tty_db_tty_type *tty, uint32_t item_key,
                                          tty_db_item_type ***insertion_point) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("tty=%X, key=%lu, insertion_point=%X", tty, item_key, insertion_point);
  TTY_DB_NEED(tty != NULL);
  TTY_DB_NEED(insertion_point != NULL);
  if (insertion_point != nullptr) {
    *insertion_point = op.ok() ? find_link(op, tty, item_key) : nullptr;
    if (op.ok() && *insertion_point == nullptr) op.rc = TTY_DB_ERR_NO_ITEM;
  }
  return op.exit();
}

// Flattened, so that the search costs no call.
[[gnu::flatten]] uint32_t tty_db_item_get(tty_db_tty_type *tty, uint32_t item_key, void **item) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("tty=%X, key=%lu, item=%X", tty, item_key, item);
  TTY_DB_REQUIRE(tty != nullptr, "NULL TTY entry pointer");
  TTY_DB_REQUIRE(item != nullptr, "NULL item output pointer");
  tty_db_item_type **insertion_point = nullptr;
  if (op.ok()) op.rc = tty_db_item_find_insertion_point(tty, item_key, &insertion_point);
  if (op.ok()) {
    TTY_DB_ASSERT(insertion_point != NULL);
    TTY_DB_ASSERT(*insertion_point != NULL);
    TTY_DB_ASSERT((*insertion_point)->key == item_key);
  }
  if (item != nullptr) *item = op.ok() ? item_data(*insertion_point) : nullptr;
  return op.exit();
}

uint32_t tty_db_item_create(tty_db_tty_type *tty, uint32_t item_key, size_t size, void **new_item) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("tty=%X, key=%lu, size=%lu, new_item=%X", tty, item_key, size, new_item);
  TTY_DB_REQUIRE(tty != nullptr, "NULL TTY entry pointer");
  TTY_DB_REQUIRE(size != 0, "0 size is illegal");
  TTY_DB_REQUIRE(new_item != nullptr, "NULL item output pointer");
  tty_db_item_type *node = nullptr;
  if (op.ok()) op.rc = check_key_is_free(op, tty, item_key);
  if (op.ok()) op.rc = allocate_node(op, size, &node);
  if (op.ok()) {
    node->key = item_key;
    node->next_item = tty->item_list_head;
    tty->item_list_head = node;
  }
  if (new_item != nullptr) *new_item = op.ok() ? item_data(node) : nullptr;
  return op.exit();
}

uint32_t tty_db_item_destroy(tty_db_tty_type *tty, uint32_t item_key) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("tty=%X, key=%lu", tty, item_key);
  TTY_DB_REQUIRE(tty != nullptr, "NULL TTY entry pointer");
  tty_db_item_type **insertion_point = nullptr;
  if (op.ok()) op.rc = tty_db_item_find_insertion_point(tty, item_key, &insertion_point);
  if (op.ok()) {
    TTY_DB_ASSERT(insertion_point != NULL);
    tty_db_item_type *list_item = *insertion_point;
    TTY_DB_ASSERT(list_item != NULL);
    TTY_DB_ASSERT(list_item->key == item_key);
    *insertion_point = list_item->next_item;
    TTY_DB_SAY("Freeing item list structure %X", list_item);
    explicit_bzero(list_item, sizeof(*list_item));
    TTY_DB_ASSERT((list_item) != NULL);
    free(list_item);
  }
  return op.exit();
}
