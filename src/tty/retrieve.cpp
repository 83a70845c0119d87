// Handing out the entry of a registered line, and taking it back.

#include "block/directory.h"
#include "tty/entry.h"

namespace {

// Finds the entry of a line and obtains it for the calling thread.  REQUIRES: the read lock.
uint32_t obtain_entry(const tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                      tty_db_tty_type **tty) {
  const tty_db_block_type *block = tty_db_directory_find(db_h, category, tty_id);
  if (block == nullptr) return TTY_DB_ERR_NOT_REGISTERED;
  *tty = tty_db_block_slot(block, tty_id);
  return *tty != nullptr ? tty_db_lock_tty(db_h, *tty) : TTY_DB_ERR_NOT_REGISTERED;
}

}  // namespace

// Takes the read lock, and inside it the entry's.
uint32_t tty_db_tty_retrieve(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                             tty_db_tty_type **tty) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: category=%lu, tty_id=%lu, tty=%X", db_h, category, tty_id,
                  tty);
  uint32_t rc = tty_db_check_tty(db_h, category, tty_id);
  if (tty == nullptr) rc = tty_db_reject(TTY_DB_TRACE_TTY, "NULL TTY output variable");
  if (rc == 0) rc = tty_db_readlock(db_h, TTY_DB_TRACE_TTY);
  if (rc == 0) {
    rc = obtain_entry(db_h, category, tty_id, tty);
    tty_db_unlock(db_h, TTY_DB_TRACE_TTY);
  }
  tty_db_trace_exit(TTY_DB_TRACE_TTY, rc);
  return rc;
}

// Takes no database lock.
uint32_t tty_db_tty_unlock(tty_db_type *db_h, tty_db_tty_type *tty) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_ENTRY, __func__, "Entering ..DB=%X: tty=%X", db_h,
                  tty);
  uint32_t rc = 0;
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_TTY, "NULL DB handle");
  if (tty == nullptr) rc = tty_db_reject(TTY_DB_TRACE_TTY, "NULL TTY entry structure");
  if (rc == 0) tty_db_unlock_tty(db_h, tty);
  tty_db_trace_exit(TTY_DB_TRACE_TTY, rc);
  return rc;
}
