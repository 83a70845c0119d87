// A database from its creation to its destruction.
//
// Destruction is a call against the order of the folders: src/block builds on src/db.

#include <stdlib.h>
#include <string.h>

#include "db/lock.h"
#include "frame/checks.h"

namespace {

// Frees a database record, and its lock where that has been created.  The record is empty, and no
// thread holds the lock.
void tty_db_cleanup(tty_db_type *db_h, bool rwlock_initialized) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..DB=%X: rwlock_initialized=%d", db_h, rwlock_initialized);
  if (rwlock_initialized) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_LINE, __func__, "Destroying RW lock");
    if (TTY_DB_ASSERT(db_h != NULL)) {
      const int error = pthread_rwlock_destroy(&db_h->rwlock);
      if (error != 0)
        tty_db_trace_failed_call(TTY_DB_TRACE_GLOBAL, "pthread_rwlock_destroy", error);
    }
  }
  if (db_h != nullptr) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_LINE, __func__, "Freeing global structure");
    TTY_DB_ASSERT(db_h->num_ttys == 0);
    TTY_DB_ASSERT(db_h->num_blocks == 0);
    explicit_bzero(db_h, sizeof(*db_h));
    free(db_h);
  }
  TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_EXIT, __func__, "Exiting ..");
}

}  // namespace

uint32_t tty_db_create(uint32_t options, tty_db_type **db_h) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..options=0x%X, db_h=0x%X", options, db_h);
  uint32_t rc = 0;
  tty_db_type *db = nullptr;
  if ((options & ~TTY_DB_OPT_ALL) != 0) {
    rc = tty_db_reject(TTY_DB_TRACE_GLOBAL, "Invalid options argument");
  }
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_GLOBAL, "NULL handle pointer argument");

  if (rc == 0) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_LINE, __func__,
                    "Allocating DB's global structure");
    db = static_cast<tty_db_type *>(calloc(1, sizeof(*db)));
    if (db == nullptr) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_LINE, __func__,
                      "malloc(%d) of Database structure failed", sizeof(*db));
      rc = TTY_DB_ERR_NO_MEMORY;
    }
  }

  if (rc == 0) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_LINE, __func__, "DB handle %X allocated", db);
    db->options = options;
    for (uint32_t category = TTY_CATEGORY_MIN; category <= TTY_CATEGORY_MAX; ++category) {
      db->directories[category].tail = &db->block_lists[category];
    }
    TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_LINE, __func__,
                    "DB handle = %X; initializing RW lock.", db);
    const int error = pthread_rwlock_init(&db->rwlock, nullptr);
    if (error != 0) {
      tty_db_report_kernel_error(TTY_DB_TRACE_GLOBAL, "Initialize RW lock", error);
      rc = TTY_DB_ERR_LOCK_INIT;
    }
  }

  if (rc != 0) {
    tty_db_cleanup(db, false);
    db = nullptr;
  }
  if (db_h != nullptr) *db_h = db;
  tty_db_trace_exit(TTY_DB_TRACE_GLOBAL, rc);
  return rc;
}

uint32_t tty_db_destroy(tty_db_type *db_h) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_ENTRY, __func__, "Entering ..db_h=%X", db_h);
  uint32_t rc = 0;
  if (db_h == nullptr) rc = tty_db_reject(TTY_DB_TRACE_GLOBAL, "NULL handle pointer argument");
  if (rc == 0) rc = tty_db_writelock(db_h, TTY_DB_TRACE_GLOBAL);
  if (rc == 0) {
    for (uint32_t category = TTY_CATEGORY_MIN; category <= TTY_CATEGORY_MAX; ++category) {
      TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_LINE, __func__, "Looking at category %lu",
                      category);
      tty_db_block_type *const *head = &db_h->block_lists[category];
      while (tty_db_block_type *block = *head) {
        TTY_DB_TRACE_IF(TTY_DB_TRACE_GLOBAL, TTY_DB_TRACE_LINE, __func__, "Destroying block %X",
                        block);
        tty_db_block_release_internal(db_h, block);
        if (*head == block) break;  // not where its list should hold it, and reported
      }
    }
    tty_db_unlock(db_h, TTY_DB_TRACE_GLOBAL);
    tty_db_cleanup(db_h, true);
  }
  tty_db_trace_exit(TTY_DB_TRACE_GLOBAL, rc);
  return rc;
}
