// Handing out the entry of a registered line, and taking it back.

#include "block/index.h"
#include "tty/entry.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_TTY;

// Finds the entry of a line and obtains it for the calling thread.  The output is set ahead of the
// entry's lock, and stays so where that cannot be had: it tells a line that is there and cannot be
// obtained from one that is not there.
uint32_t obtain_entry(const tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                      tty_db_tty_type **tty) TTY_DB_REQUIRES_READ(db_h) {
  tty_db_tty_type *found = tty_db_index_find_entry(db_h, category, tty_id);
  if (found != nullptr || tty_db_index_is_reserved(db_h, category, tty_id)) *tty = found;
  return found != nullptr ? tty_db_lock_tty(db_h, found) : TTY_DB_ERR_NOT_REGISTERED;
}

}  // namespace

uint32_t tty_db_tty_retrieve(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                             tty_db_tty_type **tty) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: category=%lu, tty_id=%lu, tty=%X", db_h, category, tty_id, tty);
  tty_db_require_line(op, db_h, category, tty_id);
  TTY_DB_REQUIRE(tty != nullptr, "NULL TTY output variable");
  if (const tty_db_read_lock lock{op, db_h}) {
    op.rc = obtain_entry(db_h, category, tty_id, tty);
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
