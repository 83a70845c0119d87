// Details queries: a copy of a block's description, the block found by handle, by line or by tag.

#include <string.h>

#include "block/block.h"
#include "db/lock.h"
#include "frame/checks.h"

namespace {

// What the queries do alike once their arguments have passed.  Returns 0 with the read lock held,
// or an error.
uint32_t begin_query(tty_db_type *db_h, const char *routine = __builtin_FUNCTION()) {
  const uint32_t rc = tty_db_block_check_mode(db_h, routine);
  return rc != 0 ? rc : tty_db_readlock(db_h, TTY_DB_TRACE_BLOCK);
}

// What the queries do alike at their end.
uint32_t end_query(uint32_t rc, tty_db_block_details_type *details,
                   const char *routine = __builtin_FUNCTION(), int line = __builtin_LINE()) {
  if (rc != 0 && details != nullptr) memset(details, 0, sizeof(*details));
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc, routine, line);
  return rc;
}

}  // namespace

// Takes the read lock.
uint32_t tty_db_block_details_from_handle(tty_db_type *db_h, tty_db_block_type *block_h,
                                          tty_db_block_details_type *details) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: block_h=%X, details=%X", db_h, block_h, details);
  uint32_t rc = 0;
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL DB handle");
  if (block_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL Block handle");
  if (details == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL Details pointer");
  if (rc == 0) rc = begin_query(db_h);
  if (rc == 0) {
    TTY_DB_ASSERT(block_h != NULL);
    *details = block_h->details;
    tty_db_unlock(db_h, TTY_DB_TRACE_BLOCK);
  }
  return end_query(rc, details);
}

// Takes the read lock.
uint32_t tty_db_block_details_from_tty(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                       tty_db_block_details_type *details) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: category=%lu, tty_id=%lu, details=%X", db_h, category, tty_id,
                  details);
  uint32_t rc = 0;
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL DB handle");
  if (details == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL Details pointer");
  if (category > TTY_CATEGORY_MAX) {
    rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "Invalid category %d", category);
  }
  if (tty_id > TTY_PORT_MAX) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "Invalid first TTY");
  if (rc == 0) rc = begin_query(db_h);
  if (rc == 0) {
    tty_db_block_type *block = nullptr;
    rc = tty_db_block_find_block_from_tty_id(db_h, category, tty_id, &block);
    if (rc == 0 && !TTY_DB_ASSERT(block != NULL)) rc = TTY_DB_ERR_INVALID_ARG;
    if (rc == 0) {
      TTY_DB_ASSERT(block->details.category == category);
      TTY_DB_ASSERT(tty_id >= block->details.first_tty);
      TTY_DB_ASSERT(tty_id < block->details.first_tty + block->details.capacity);
      *details = block->details;
    }
    tty_db_unlock(db_h, TTY_DB_TRACE_BLOCK);
  }
  return end_query(rc, details);
}

// Takes the read lock.
uint32_t tty_db_block_details_from_tag(tty_db_type *db_h, const char *tag_name,
                                       tty_db_block_details_type *details) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: tag_name=%s, details=%X", db_h, tty_db_trace_string(tag_name),
                  details);
  uint32_t rc = 0;
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL DB handle");
  if (details == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL Details pointer");
  if (rc == 0) rc = begin_query(db_h);
  if (rc == 0) {
    tty_db_block_type *block = nullptr;
    rc = tty_db_block_find_block_from_tag(db_h, tag_name, &block);
    if (rc == 0 && !TTY_DB_ASSERT(block != NULL)) rc = TTY_DB_ERR_INVALID_ARG;
    if (rc == 0) {
      TTY_DB_ASSERT((block->details.tag_name == NULL && tag_name == NULL) ||
                    (block->details.tag_name != NULL && tag_name != NULL &&
                     !strcmp(block->details.tag_name, tag_name)));
      *details = block->details;
    }
    tty_db_unlock(db_h, TTY_DB_TRACE_BLOCK);
  }
  return end_query(rc, details);
}
