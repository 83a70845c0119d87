// The database lock.
//
// Public operations hold it, for reading without a bound on the wait, for writing after a bounded
// number of tries that never wait inside a lock call.  Internal routines never take it: they assert
// that the calling thread holds it for writing.  An entry's lock is only ever taken inside it.

#ifndef TTY_DB_DB_LOCK_H
#define TTY_DB_DB_LOCK_H

#include <errno.h>

#include "db/db.h"
#include "frame/messages.h"
#include "frame/operation.h"

constexpr int TTY_DB_WRITELOCK_ATTEMPTS = 10;
constexpr unsigned TTY_DB_WRITELOCK_RETRY_USEC = 20000;

// Tries for the write lock, without waiting.  Returns 0 when the calling thread holds it now, EBUSY
// when another thread holds it, EDEADLK when the calling thread held it for writing already, or
// another error number.
int tty_db_rwlock_trywrlock(pthread_rwlock_t *rwlock);

// Tries for the write lock until it has been busy TTY_DB_WRITELOCK_ATTEMPTS times.
// Returns 0 or TTY_DB_ERR_LOCK_FAILED; for a NULL handle TTY_DB_ERR_INVALID_ARG.
uint32_t tty_db_writelock(tty_db_speaker caller, tty_db_type *db);

// Takes the read lock.  Returns 0 or TTY_DB_ERR_LOCK_FAILED; for a NULL handle
// TTY_DB_ERR_INVALID_ARG.
inline uint32_t tty_db_readlock(tty_db_speaker caller, tty_db_type *db) {
  const tty_db_speaker op(caller.category);
  if (!TTY_DB_ASSERT(db != NULL)) return TTY_DB_ERR_INVALID_ARG;
  TTY_DB_SAY("Obtaining readlock for DB %X", db);
  const int error = pthread_rwlock_rdlock(&db->rwlock);
  if (__builtin_expect(error != 0, 0)) {
    tty_db_report_kernel_error(op, "Obtain DB read lock", error);
    return TTY_DB_ERR_LOCK_FAILED;
  }
  return 0;
}

// Releases the lock, whichever way it was taken, or ends the process.
inline void tty_db_unlock(tty_db_speaker caller, tty_db_type *db) {
  const tty_db_speaker op(caller.category);
  if (!TTY_DB_ASSERT(db != NULL)) return;
  TTY_DB_SAY("Unlocking Database");
  const int error = pthread_rwlock_unlock(&db->rwlock);
  if (__builtin_expect(error != 0, 0)) tty_db_fatal_error(op, "Release DB read/write lock", error);
}

// The two ways to take the lock.
constexpr struct tty_db_read_way {
} TTY_DB_READ;
constexpr struct tty_db_write_way {
} TTY_DB_WRITE;

// An operation's hold of the lock, up to the end of the scope:
//
//   if (const tty_db_lock lock{op, db_h, TTY_DB_READ}) { ... }
//
// The lock is taken only if nothing has failed so far, and a failure to take it becomes the result.
class TTY_DB_SCOPED_LOCK tty_db_lock {
 public:
  tty_db_lock(tty_db_operation &op, tty_db_type *db, tty_db_read_way /*way*/)
      TTY_DB_ACQUIRES_READ(db)
      : tty_db_lock(op, db, op.ok() ? tty_db_readlock(op, db) : op.rc) {}
  tty_db_lock(tty_db_operation &op, tty_db_type *db, tty_db_write_way /*way*/)
      TTY_DB_ACQUIRES_WRITE(db)
      : tty_db_lock(op, db, op.ok() ? tty_db_writelock(op, db) : op.rc) {}
  ~tty_db_lock() TTY_DB_RELEASES {
    if (held_) tty_db_unlock(op_, db_);
  }
  tty_db_lock(const tty_db_lock &) = delete;
  tty_db_lock &operator=(const tty_db_lock &) = delete;
  explicit operator bool() const { return held_; }

 private:
  tty_db_lock(tty_db_operation &op, tty_db_type *db, uint32_t rc)
      : op_(op), db_(db), held_(rc == 0) {
    op.rc = rc;
  }

  const tty_db_speaker op_;
  tty_db_type *const db_;
  const bool held_;
};

// Returns whether the calling thread holds the write lock.  Leaves the lock as it was.
bool tty_db_is_writelocked(tty_db_type *db) TTY_DB_ASSERTS_WRITE(db);

// Asserts that the argument names a database whose write lock the calling thread holds.  Yields
// whether it names a database.
#define TTY_DB_ASSERT_WRITELOCKED(db)                 \
  tty_db_assert_writelocked(op, (db), #db " != NULL", \
                            "pthread_rwlock_trywrlock(&" #db "->rwlock) == EDEADLK", __LINE__)

inline bool tty_db_assert_writelocked(tty_db_speaker op, tty_db_type *db, const char *exists,
                                      const char *locked, int line) TTY_DB_ASSERTS_WRITE(db) {
  if (!tty_db_assert(op, db != nullptr, exists, line)) return false;
  tty_db_assert(op, tty_db_is_writelocked(db), locked, line);
  return true;
}

// Tells the compiler of the lock that the caller of an exported look-up promises to hold.
inline void tty_db_trust_locked([[maybe_unused]] const tty_db_type *db) TTY_DB_ASSERTS_READ(db) {}

#endif  // TTY_DB_DB_LOCK_H
