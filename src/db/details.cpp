// What a database holds, in numbers.

#include "db/lock.h"
#include "frame/checks.h"

uint32_t tty_db_get_details(tty_db_type *db_h, uint32_t *num_blocks, uint32_t *num_ttys) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: num_block=%X, num_ttys=%X", db_h, num_blocks, num_ttys);
  uint32_t rc = 0;
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_GLOBAL, "NULL handle pointer argument");
  if (rc == 0) rc = tty_db_readlock(db_h, TTY_DB_TRACE_GLOBAL);
  if (rc == 0) {
    if (num_blocks != nullptr) *num_blocks = db_h->num_blocks;
    if (num_ttys != nullptr) *num_ttys = db_h->num_ttys;
    tty_db_unlock(db_h, TTY_DB_TRACE_GLOBAL);
  }
  tty_db_trace_exit(TTY_DB_TRACE_GLOBAL, rc);
  return rc;
}
