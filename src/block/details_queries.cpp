// Queries for the details of a block, by handle, id or tag.

#include <string.h>

#include "block/block.h"
#include "db/lock.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_BLOCK;

// Clears the output if the query failed, and ends the query.
uint32_t end_query(const tty_db_operation &op, tty_db_block_details_type *details) {
  if (!op.ok() && details != nullptr) memset(details, 0, sizeof(*details));
  return op.exit();
}

}  // namespace

uint32_t tty_db_block_details_from_handle(tty_db_type *db_h, tty_db_block_type *block_h,
                                          tty_db_block_details_type *details) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: block_h=%X, details=%X", db_h, block_h, details);
  tty_db_require_block(op, db_h, block_h);
  TTY_DB_REQUIRE(details != nullptr, "NULL Details pointer");
  tty_db_require_manual_blocks(op, db_h);
  if (const tty_db_lock lock{op, db_h, TTY_DB_READ}) {
    TTY_DB_ASSERT(block_h != NULL);
    *details = block_h->details;
  }
  return end_query(op, details);
}

uint32_t tty_db_block_details_from_tty(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                       tty_db_block_details_type *details) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: category=%lu, tty_id=%lu, details=%X", db_h, category, tty_id, details);
  TTY_DB_REQUIRE(db_h != nullptr, "NULL DB handle");
  TTY_DB_REQUIRE(details != nullptr, "NULL Details pointer");
  TTY_DB_REQUIRE(category <= TTY_CATEGORY_MAX, "Invalid category %d", category);
  TTY_DB_REQUIRE(tty_id <= TTY_PORT_MAX, "Invalid first TTY");
  tty_db_require_manual_blocks(op, db_h);
  if (const tty_db_lock lock{op, db_h, TTY_DB_READ}) {
    tty_db_block_type *block = nullptr;
    op.rc = tty_db_block_find_block_from_tty_id(db_h, category, tty_id, &block);
    if (op.ok()) {
      TTY_DB_ASSERT(block != NULL);
      TTY_DB_ASSERT(block->details.category == category);
      TTY_DB_ASSERT(tty_id >= block->details.first_tty);
      TTY_DB_ASSERT(tty_id < block->details.first_tty + block->details.capacity);
      *details = block->details;
    }
  }
  return end_query(op, details);
}

uint32_t tty_db_block_details_from_tag(tty_db_type *db_h, const char *tag_name,
                                       tty_db_block_details_type *details) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: tag_name=%s, details=%X", db_h, tty_db_trace_string(tag_name), details);
  TTY_DB_REQUIRE(db_h != nullptr, "NULL DB handle");
  TTY_DB_REQUIRE(details != nullptr, "NULL Details pointer");
  tty_db_require_manual_blocks(op, db_h);
  if (const tty_db_lock lock{op, db_h, TTY_DB_READ}) {
    tty_db_block_type *block = nullptr;
    op.rc = tty_db_block_find_block_from_tag(db_h, tag_name, &block);
    if (op.ok()) {
      TTY_DB_ASSERT(block != NULL);
      TTY_DB_ASSERT((block->details.tag_name == NULL && tag_name == NULL) ||
                    (block->details.tag_name != NULL && tag_name != NULL &&
                     !strcmp(block->details.tag_name, tag_name)));
      *details = block->details;
    }
  }
  return end_query(op, details);
}
