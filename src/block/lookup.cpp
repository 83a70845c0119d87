// Lookups in the block lists.  None takes a lock, allocates or changes anything.

#include "block/lookup.h"

#include <string.h>

#include "block/directory.h"

uint32_t tty_db_block_find_insertion_point(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                           tty_db_block_type ***insertion_point) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: category=%lu, tty_id=%lu, insertion_point=%X", db_h, category,
                  tty_id, insertion_point);
  const bool has_db = TTY_DB_ASSERT(db_h != NULL);
  const bool has_list =
      TTY_DB_ASSERT(category >= TTY_CATEGORY_MIN && category <= TTY_CATEGORY_MAX) && has_db;
  TTY_DB_ASSERT(tty_id <= TTY_PORT_MAX);
  const bool has_output = TTY_DB_ASSERT(insertion_point != NULL);

  uint32_t rc = TTY_DB_ERR_INVALID_ARG;
  if (has_output) *insertion_point = nullptr;
  if (has_output && has_list) {
    tty_db_block_type **link = tty_db_directory_start(db_h, category, tty_id);
    while (*link != nullptr && tty_id >= tty_db_block_end(*link)) link = &(*link)->next_block;
    *insertion_point = link;
    rc = 0;
  }
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}

uint32_t tty_db_block_check_for_overlap(tty_db_type *db_h, uint32_t category, uint32_t first_tty,
                                        uint32_t num_ttys, const tty_db_block_type *resize_block) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: category=%lu, first=%lu, num=%lu, block=%X", db_h, category,
                  first_tty, num_ttys, resize_block);
  const bool has_db = TTY_DB_ASSERT(db_h != NULL);
  const bool has_list =
      TTY_DB_ASSERT(category >= TTY_CATEGORY_MIN && category <= TTY_CATEGORY_MAX) && has_db;

  uint32_t rc = has_list ? 0 : TTY_DB_ERR_INVALID_ARG;
  if (has_list) {
    const tty_db_block_type *block = *tty_db_directory_start(db_h, category, first_tty);
    for (; block != nullptr && block->details.first_tty < first_tty + num_ttys;
         block = block->next_block) {
      if (first_tty >= tty_db_block_end(block) || block == resize_block) continue;
      TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, __func__,
                      "Overlap block %X found (first=%lu, size=%lu)", block,
                      block->details.first_tty, block->details.capacity);
      rc = TTY_DB_ERR_OVERLAP;
      break;
    }
  }
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}

uint32_t tty_db_block_find_lowest_block(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                        tty_db_block_type **block) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: category=%lu, tty_id=%lu, block=%X", db_h, category, tty_id,
                  block);
  uint32_t rc = TTY_DB_ERR_INVALID_ARG;
  if (TTY_DB_ASSERT(block != NULL)) {
    tty_db_block_type **insertion_point;
    rc = tty_db_block_find_insertion_point(db_h, category, tty_id, &insertion_point);
    *block = rc == 0 ? *insertion_point : nullptr;
    if (*block != nullptr) {
      TTY_DB_ASSERT((*block)->details.category == category);
      TTY_DB_ASSERT(tty_id < (*block)->details.first_tty + (*block)->details.capacity);
    } else if (rc == 0) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, __func__, "Can't find block");
      rc = TTY_DB_ERR_NO_BLOCK;
    }
  }
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}

uint32_t tty_db_block_find_block_from_tty_id(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                             tty_db_block_type **block) {
  const bool valid = db_h != nullptr && category <= TTY_CATEGORY_MAX && tty_id <= TTY_PORT_MAX;
  if (!tty_db_tracing() && valid && block != nullptr) {
    // The steps below would trace nothing, and assert what the directory promises.
    *block = tty_db_directory_find(db_h, category, tty_id);
    return *block != nullptr ? 0 : TTY_DB_ERR_NO_BLOCK;
  }
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: category=%lu, tty_id=%lu, block=%X", db_h, category, tty_id,
                  block);
  uint32_t rc = TTY_DB_ERR_INVALID_ARG;
  if (TTY_DB_ASSERT(block != NULL)) {
    rc = tty_db_block_find_lowest_block(db_h, category, tty_id, block);
    if (rc == 0) {
      TTY_DB_ASSERT(*block != NULL);
      TTY_DB_ASSERT((*block)->details.category == category);
      if (tty_id < (*block)->details.first_tty) {
        TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, __func__,
                        "Block is greater than TTY we're looking for");
        *block = nullptr;
        rc = TTY_DB_ERR_NO_BLOCK;
      }
    }
  }
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}

namespace {

bool same_tag(const char *one, const char *other) {
  if (one == nullptr || other == nullptr) return one == other;
  return strcmp(one, other) == 0;
}

// The search itself.  Returns the first block with the tag, or NULL.
tty_db_block_type *first_block_with_tag(tty_db_type *db_h, const char *tag_name,
                                        const char *routine) {
  for (uint32_t category = TTY_CATEGORY_MIN; category <= TTY_CATEGORY_MAX; ++category) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, routine, "Considering category %lu",
                    category);
    tty_db_block_type *block = db_h->block_lists[category];
    for (; block != nullptr; block = block->next_block) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, routine,
                      "Looking at block %X with tag: %s", block,
                      tty_db_trace_string(block->details.tag_name));
      if (!same_tag(block->details.tag_name, tag_name)) continue;
      TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, routine, "Match found");
      return block;
    }
  }
  return nullptr;
}

}  // namespace

uint32_t tty_db_block_find_block_from_tag(tty_db_type *db_h, const char *tag_name,
                                          tty_db_block_type **block) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: tag=%s, block=%X", db_h, tty_db_trace_string(tag_name), block);
  const bool has_db = TTY_DB_ASSERT(db_h != NULL);
  const bool has_output = TTY_DB_ASSERT(block != NULL);
  uint32_t rc = TTY_DB_ERR_INVALID_ARG;
  if (has_output) *block = nullptr;
  if (has_output && has_db) {
    *block = first_block_with_tag(db_h, tag_name, __func__);
    rc = *block != nullptr ? 0 : TTY_DB_ERR_NO_BLOCK;
  }
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}
