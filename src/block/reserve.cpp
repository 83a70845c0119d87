// Reserving a block.

#include <stdlib.h>
#include <string.h>

#include "block/directory.h"
#include "block/lookup.h"
#include "block/release.h"
#include "db/lock.h"
#include "frame/checks.h"

namespace {

// Allocates a block and fills it in, in no list.  Sets `*block` to what has been built, also on
// failure, for block clean-up.  Returns 0 or TTY_DB_ERR_NO_MEMORY.  Traces as `routine`.
uint32_t build_block(uint32_t category, uint32_t first_tty, uint32_t num_ttys, const char *tag_name,
                     uintptr_t ctx, const char *routine, tty_db_block_type **block) {
  auto *built = static_cast<tty_db_block_type *>(calloc(1, sizeof(tty_db_block_type)));
  *block = built;
  if (built == nullptr) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, routine,
                    "malloc(%d) of Block structure failed", sizeof(*built));
    return TTY_DB_ERR_NO_MEMORY;
  }
  built->details = {category, first_tty, num_ttys, nullptr, 0, ctx, built};
  if (tag_name != nullptr) {
    built->details.tag_name = strdup(tag_name);
    if (built->details.tag_name == nullptr) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, routine,
                      "strdup(%d) of tag name failed", strlen(tag_name) + 1);
      return TTY_DB_ERR_NO_MEMORY;
    }
  }
  built->ttys = static_cast<tty_db_tty_type **>(calloc(num_ttys, sizeof(*built->ttys)));
  if (built->ttys == nullptr) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_LINE, routine,
                    "malloc(%d) of TTY array failed", num_ttys * sizeof(*built->ttys));
    return TTY_DB_ERR_NO_MEMORY;
  }
  return 0;
}

}  // namespace

// Takes the write lock.
uint32_t tty_db_block_reserve(tty_db_type *db_h, uint32_t category, uint32_t first_tty,
                              uint32_t num_ttys, const char *tag_name, uintptr_t ctx,
                              tty_db_block_type **block_h) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__, "Entering ..");
  uint32_t rc = 0;
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL DB handle");
  if (block_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "NULL Block handle");
  if (category > TTY_CATEGORY_MAX) {
    rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "Invalid category %d", category);
  }
  if (!tty_db_is_valid_range(first_tty, num_ttys)) {
    rc = tty_db_reject(TTY_DB_TRACE_BLOCK, "Invalid first TTY / number of TTYs");
  }
  if (rc == 0) rc = tty_db_block_check_mode(db_h);
  if (rc == 0) rc = tty_db_writelock(db_h, TTY_DB_TRACE_BLOCK);
  if (rc == 0) {
    rc = tty_db_block_reserve_internal(db_h, category, first_tty, num_ttys, tag_name, ctx, block_h);
    tty_db_unlock(db_h, TTY_DB_TRACE_BLOCK);
  }
  if (rc != 0 && block_h != nullptr) *block_h = nullptr;
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}

// REQUIRES: the write lock.
uint32_t tty_db_block_reserve_internal(tty_db_type *db_h, uint32_t category, uint32_t first_tty,
                                       uint32_t num_ttys, const char *tag_name, uintptr_t ctx,
                                       tty_db_block_type **block_h) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_BLOCK, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: category=%lu, first=%d, num=%lu, tag=%s, ctx=%X, block=%X",
                  db_h, category, first_tty, num_ttys, tty_db_trace_string(tag_name), ctx, block_h);
  bool valid = TTY_DB_ASSERT(db_h != NULL);
  if (valid) TTY_DB_ASSERT_WRITELOCKED(db_h);
  valid &= TTY_DB_ASSERT(category >= TTY_CATEGORY_MIN && category <= TTY_CATEGORY_MAX);
  valid &= tty_db_block_assert_range(first_tty, num_ttys);
  valid &= TTY_DB_ASSERT(block_h != NULL);

  uint32_t rc = TTY_DB_ERR_INVALID_ARG;
  tty_db_block_type *block = nullptr;
  if (valid) {
    tty_db_block_type **insertion_point = nullptr;
    rc = tty_db_block_check_for_overlap(db_h, category, first_tty, num_ttys, nullptr);
    if (rc == 0) {
      rc = tty_db_block_find_insertion_point(db_h, category, first_tty, &insertion_point);
    }
    if (rc == 0) rc = build_block(category, first_tty, num_ttys, tag_name, ctx, __func__, &block);
    if (rc == 0) {
      tty_db_block_link(db_h, insertion_point, block);
      ++db_h->num_blocks;
    } else {
      tty_db_block_cleanup(db_h, block);
      block = nullptr;
    }
  }
  if (block_h != nullptr) *block_h = block;
  tty_db_trace_exit(TTY_DB_TRACE_BLOCK, rc);
  return rc;
}
