// The database lock.
//
// Public operations take it, for reading without a bound on the wait, for writing by a bounded
// number of tries that never wait inside a lock call.  Internal routines never take it: they assert
// that the calling thread holds it for writing.  An entry's lock is only ever taken inside it.

#ifndef TTY_DB_DB_LOCK_H
#define TTY_DB_DB_LOCK_H

#include <errno.h>
#include <stddef.h>

#include "db/db.h"
#include "frame/assert.h"
#include "frame/messages.h"
#include "frame/trace.h"

constexpr int TTY_DB_WRITELOCK_ATTEMPTS = 10;
constexpr unsigned TTY_DB_WRITELOCK_RETRY_USEC = 20000;

// Tries for the write lock, without waiting.  Returns 0 when the calling thread holds it now, EBUSY
// when another thread holds it, EDEADLK when the calling thread held it for writing already, or
// another error number.
int tty_db_rwlock_trywrlock(pthread_rwlock_t *rwlock);

// Says whether the calling thread holds the write lock.  Leaves the lock as it was.
bool tty_db_is_writelocked(tty_db_type *db);

// Asserts that the calling thread holds the write lock of the database that the argument names.
#define TTY_DB_ASSERT_WRITELOCKED(db)           \
  TTY_DB_ASSERT_TEXT(tty_db_is_writelocked(db), \
                     "pthread_rwlock_trywrlock(&" #db "->rwlock) == EDEADLK")

// Tries for the write lock until it has been busy TTY_DB_WRITELOCK_ATTEMPTS times.
// Returns 0 or TTY_DB_ERR_LOCK_FAILED; for a NULL handle TTY_DB_ERR_INVALID_ARG.
uint32_t tty_db_writelock(tty_db_type *db, tty_db_trace_category category);

// Takes the read lock.  Returns 0 or TTY_DB_ERR_LOCK_FAILED.
inline uint32_t tty_db_readlock(tty_db_type *db, tty_db_trace_category category) {
  if (!TTY_DB_ASSERT(db != NULL)) return TTY_DB_ERR_INVALID_ARG;
  TTY_DB_TRACE_IF(category, TTY_DB_TRACE_LINE, __func__, "Obtaining readlock for DB %X", db);
  const int error = pthread_rwlock_rdlock(&db->rwlock);
  if (__builtin_expect(error != 0, 0)) {
    tty_db_report_kernel_error(category, "Obtain DB read lock", error);
    return TTY_DB_ERR_LOCK_FAILED;
  }
  return 0;
}

// Releases the lock, whichever way it was taken, or ends the process.
inline void tty_db_unlock(tty_db_type *db, tty_db_trace_category category) {
  if (!TTY_DB_ASSERT(db != NULL)) return;
  TTY_DB_TRACE_IF(category, TTY_DB_TRACE_LINE, __func__, "Unlocking Database");
  const int error = pthread_rwlock_unlock(&db->rwlock);
  if (__builtin_expect(error != 0, 0)) {
    tty_db_fatal_error(category, "Release DB read/write lock", error);
  }
}

#endif  // TTY_DB_DB_LOCK_H
