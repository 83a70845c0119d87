// The counts of a database.

#include "db/lock.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_GLOBAL;

}  // namespace

uint32_t tty_db_get_details(tty_db_type *db_h, uint32_t *num_blocks, uint32_t *num_ttys) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: num_block=%X, num_ttys=%X", db_h, num_blocks, num_ttys);
  TTY_DB_REQUIRE(db_h != nullptr, "NULL handle pointer argument");
  if (const tty_db_lock lock{op, db_h, TTY_DB_READ}) {
    if (num_blocks != nullptr) *num_blocks = db_h->num_blocks;
    if (num_ttys != nullptr) *num_ttys = db_h->num_ttys;
  }
  return op.exit();
}
