// Retrieving and unlocking the entry of a line.

#include "block/index.h"
#include "tty/entry.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_TTY;

// Finds and locks the entry of a line; `slot` points to it in the index.  The output stays set if
// the lock cannot be taken, so that the caller can see that the line is registered.
uint32_t obtain_entry(const tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                      tty_db_tty_type *const *slot, tty_db_tty_type **tty)
    TTY_DB_REQUIRES_READ(db_h) {
  tty_db_tty_type *found = db_h->block_lists[category] != nullptr ? *slot : nullptr;
  if (found != nullptr || tty_db_index_find_block(db_h, category, tty_id) != nullptr) *tty = found;
  return found != nullptr ? tty_db_lock_tty(db_h, found) : TTY_DB_ERR_NOT_REGISTERED;
}

}  // namespace

uint32_t tty_db_tty_retrieve(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                             tty_db_tty_type **tty) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: category=%lu, tty_id=%lu, tty=%X", db_h, category, tty_id, tty);
  tty_db_require_line(op, db_h, category, tty_id);
  TTY_DB_REQUIRE(tty != nullptr, "NULL TTY output variable");
  tty_db_tty_type *const *slot = nullptr;
  if (op.ok()) slot = tty_db_index_prefetch_entry(db_h, category, tty_id);
  if (const tty_db_lock lock{op, db_h, TTY_DB_READ}) {
    op.rc = obtain_entry(db_h, category, tty_id, slot, tty);
  }
  return op.exit();
}

uint32_t tty_db_tty_unlock(tty_db_type *db_h, tty_db_tty_type *tty) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: tty=%X", db_h, tty);
  TTY_DB_REQUIRE(db_h != nullptr, "NULL DB handle");
  TTY_DB_REQUIRE(tty != nullptr, "NULL TTY entry structure");
  if (op.ok()) tty_db_unlock_tty(db_h, tty);
  return op.exit();
}
