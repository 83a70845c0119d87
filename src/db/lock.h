// The database lock.
//
// Public operations take it, as tty_db.h describes.  A writer never waits inside a lock call.
// Internal routines never take it.  Those that change anything assert that the calling thread holds
// the write lock.  An entry lock is only taken while the database lock is held.

#ifndef TTY_DB_DB_LOCK_H
#define TTY_DB_DB_LOCK_H

#include <errno.h>

#include "db/db.h"
#include "frame/messages.h"
#include "frame/operation.h"

constexpr int TTY_DB_WRITELOCK_ATTEMPTS = 10;
constexpr unsigned TTY_DB_WRITELOCK_RETRY_USEC = 20000;

// Tries to take the write lock, without waiting.  Returns 0 on success, EBUSY if another thread
// holds the lock, EDEADLK if the calling thread already holds the write lock, or another error
// number.
int tty_db_rwlock_trywrlock(pthread_rwlock_t *rwlock);

// Takes the write lock.  Returns 0, TTY_DB_ERR_LOCK_FAILED, or TTY_DB_ERR_INVALID_ARG for NULL.
uint32_t tty_db_writelock(tty_db_speaker caller, tty_db_type *db);

// Takes the read lock.  Returns 0, TTY_DB_ERR_LOCK_FAILED, or TTY_DB_ERR_INVALID_ARG for NULL.
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

// Releases the read or write lock, or ends the process.
inline void tty_db_unlock(tty_db_speaker caller, tty_db_type *db) {
  const tty_db_speaker op(caller.category);
  if (!TTY_DB_ASSERT(db != NULL)) return;
  TTY_DB_SAY("Unlocking Database");
  const int error = pthread_rwlock_unlock(&db->rwlock);
  if (__builtin_expect(error != 0, 0)) tty_db_fatal_error(op, "Release DB read/write lock", error);
}

// Selects the lock that tty_db_lock takes.
constexpr struct tty_db_read_way {
} TTY_DB_READ;
constexpr struct tty_db_write_way {
} TTY_DB_WRITE;

// Holds the database lock until the end of the scope:
//
//   if (const tty_db_lock lock{op, db_h, TTY_DB_READ}) { ... }
//
// Takes the lock only if no step has failed so far.  A failure to take it becomes the result.
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

// Returns whether the calling thread holds the write lock.
bool tty_db_is_writelocked(tty_db_type *db) TTY_DB_ASSERTS_WRITE(db);

// Asserts that `db` is not NULL and that the calling thread holds its write lock.  Yields whether
// `db` is not NULL.
#define TTY_DB_ASSERT_WRITELOCKED(db)                 \
  tty_db_assert_writelocked(op, (db), #db " != NULL", \
                            "pthread_rwlock_trywrlock(&" #db "->rwlock) == EDEADLK", __LINE__)

inline bool tty_db_assert_writelocked(tty_db_speaker op, tty_db_type *db, const char *exists,
                                      const char *locked, int line) TTY_DB_ASSERTS_WRITE(db) {
  if (!tty_db_assert(op, db != nullptr, exists, line)) return false;
  tty_db_assert(op, tty_db_is_writelocked(db), locked, line);
  return true;
}

// Tells the compiler that the caller of an exported lookup holds the database lock.
inline void tty_db_trust_locked([[maybe_unused]] const tty_db_type *db) TTY_DB_ASSERTS_READ(db) {}

#endif  // TTY_DB_DB_LOCK_H
