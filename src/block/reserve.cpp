// Reserving a block.

#include <stdlib.h>
#include <string.h>

#include "block/index.h"
#include "block/lookup.h"
#include "block/release.h"
#include "db/lock.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_BLOCK;

// Finds the link for a new block with a range of ids.  Returns 0 or TTY_DB_ERR_OVERLAP.
uint32_t find_place(tty_db_type *db_h, uint32_t category, uint32_t first_tty, uint32_t num_ttys,
                    tty_db_block_type ***insertion_point) TTY_DB_REQUIRES_READ(db_h) {
  const uint32_t rc = tty_db_block_check_for_overlap(db_h, category, first_tty, num_ttys, nullptr);
  if (rc != 0) return rc;
  return tty_db_block_find_insertion_point(db_h, category, first_tty, insertion_point);
}

// Allocates and initializes a block.  On failure `*block` is partly built or NULL, for
// tty_db_block_cleanup.  Returns 0 or TTY_DB_ERR_NO_MEMORY.
uint32_t build_block(tty_db_speaker op, uint32_t category, uint32_t first_tty, uint32_t num_ttys,
                     const char *tag_name, uintptr_t ctx, tty_db_block_type **block) {
  auto *built = static_cast<tty_db_block_type *>(calloc(1, sizeof(tty_db_block_type)));
  *block = built;
  if (built == nullptr) {
    TTY_DB_SAY("malloc(%d) of Block structure failed", sizeof(*built));
    return TTY_DB_ERR_NO_MEMORY;
  }
  built->details = {category, first_tty, num_ttys, nullptr, 0, ctx, built};
  if (tag_name != nullptr) {
    built->details.tag_name = strdup(tag_name);
    if (built->details.tag_name == nullptr) {
      TTY_DB_SAY("strdup(%d) of tag name failed", strlen(tag_name) + 1);
      return TTY_DB_ERR_NO_MEMORY;
    }
  }
  built->ttys = static_cast<tty_db_tty_type **>(calloc(num_ttys, sizeof(*built->ttys)));
  if (built->ttys == nullptr) {
    TTY_DB_SAY("malloc(%d) of TTY array failed", num_ttys * sizeof(*built->ttys));
    return TTY_DB_ERR_NO_MEMORY;
  }
  return 0;
}

}  // namespace

uint32_t tty_db_block_reserve(tty_db_type *db_h, uint32_t category, uint32_t first_tty,
                              uint32_t num_ttys, const char *tag_name, uintptr_t ctx,
                              tty_db_block_type **block_h) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER();
  tty_db_require_block(op, db_h, block_h);
  TTY_DB_REQUIRE(category <= TTY_CATEGORY_MAX, "Invalid category %d", category);
  tty_db_require_range(op, first_tty, num_ttys);
  tty_db_require_manual_blocks(op, db_h);
  if (const tty_db_lock lock{op, db_h, TTY_DB_WRITE}) {
    op.rc =
        tty_db_block_reserve_internal(db_h, category, first_tty, num_ttys, tag_name, ctx, block_h);
  }
  if (!op.ok() && block_h != nullptr) *block_h = nullptr;
  return op.exit();
}

uint32_t tty_db_block_reserve_internal(tty_db_type *db_h, uint32_t category, uint32_t first_tty,
                                       uint32_t num_ttys, const char *tag_name, uintptr_t ctx,
                                       tty_db_block_type **block_h) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: category=%lu, first=%d, num=%lu, tag=%s, ctx=%X, block=%X", db_h, category,
               first_tty, num_ttys, tty_db_trace_string(tag_name), ctx, block_h);
  tty_db_need(op, TTY_DB_ASSERT_WRITELOCKED(db_h));
  TTY_DB_NEED(category >= TTY_CATEGORY_MIN && category <= TTY_CATEGORY_MAX);
  tty_db_need_range(op, first_tty, num_ttys);
  TTY_DB_NEED(block_h != NULL);

  tty_db_block_type *block = nullptr;
  if (op.ok()) {
    tty_db_block_type **insertion_point = nullptr;
    op.rc = find_place(db_h, category, first_tty, num_ttys, &insertion_point);
    if (op.ok()) op.rc = build_block(op, category, first_tty, num_ttys, tag_name, ctx, &block);
    if (op.ok()) {
      tty_db_index_link(db_h, insertion_point, block);
      ++db_h->num_blocks;
    } else {
      tty_db_block_cleanup(db_h, block);
      block = nullptr;
    }
  }
  if (block_h != nullptr) *block_h = block;
  return op.exit();
}
