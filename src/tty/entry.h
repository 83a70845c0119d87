// The entry of a line, and its lock.
//
// Registration allocates an entry and creates its lock.  With TTY_DB_OPT_LOCK_ENTRIES, the threads
// that register and retrieve the line hold the lock in turn.  Deregistration waits for the holder,
// destroys the lock and frees the entry.  While registered, an entry is in exactly one slot of one
// block.
//
// Three things are used without the database lock:
//
// - the options, which never change;
// - the mutex and the items of an entry, which cannot be freed while a thread holds the entry;
// - lock_owner, a diagnostic that several threads may write at once: it is written atomically.

#ifndef TTY_DB_TTY_ENTRY_H
#define TTY_DB_TTY_ENTRY_H

#include "block/block.h"
#include "db/lock.h"

// The owner of an entry that nobody holds.
constexpr pthread_t TTY_DB_NO_OWNER = 0xFFFFFFFFu;

// Sets the owner of an entry.  Without entry locks several threads may do so at once.
inline void tty_db_set_lock_owner(tty_db_tty_type *tty, pthread_t owner) {
  __atomic_store_n(&tty->lock_owner, owner, __ATOMIC_RELAXED);
}

// Checks the arguments that name a line, with the source line of the operation.
inline void tty_db_require_line(tty_db_operation &op, const tty_db_type *db_h, uint32_t category,
                                uint32_t tty_id, int line = __builtin_LINE()) {
  TTY_DB_REQUIRE_AT(line, db_h != nullptr, "NULL DB handle");
  TTY_DB_REQUIRE_AT(line, category <= TTY_CATEGORY_MAX, "Invalid category %d", category);
  TTY_DB_REQUIRE_AT(line, tty_id <= TTY_PORT_MAX, "Invalid TTY Id %d", tty_id);
}

// Creates the lock of a new entry.  Returns 0 or TTY_DB_ERR_LOCK_INIT.
uint32_t tty_db_create_entry_lock(tty_db_speaker op, tty_db_tty_type *tty,
                                  int line = __builtin_LINE());

// Takes an entry lock, and announces the wait for its holder to the thread-block diagnostics.
// Returns 0, EDEADLK if the calling thread is the holder, or another error number.
int tty_db_take_entry_lock(tty_db_speaker op, tty_db_tty_type *tty, int line = __builtin_LINE());

// Waits until no other thread holds an entry.  REQUIRES: the write lock, so that no other thread
// can take its lock.
void tty_db_wait_for_holder(tty_db_tty_type *tty);

// Frees an entry, or nothing for NULL.  If it has a lock, waits for the holder and destroys the
// lock.  REQUIRES: the write lock; the entry is in no slot and has no items.
void tty_db_cleanup_entry(tty_db_tty_type *tty, bool lock_initialized);

// Locks an entry for the calling thread, if the database has entry locks.  Returns 0 or
// TTY_DB_ERR_LOCK_FAILED.  REQUIRES: the database lock.
inline uint32_t tty_db_lock_tty(const tty_db_type *db, tty_db_tty_type *tty) {
  const tty_db_speaker op(TTY_DB_TRACE_TTY);
  if (!TTY_DB_ASSERT(db != NULL)) return TTY_DB_ERR_INVALID_ARG;
  if ((db->options & TTY_DB_OPT_LOCK_ENTRIES) != 0) {
    const int error = tty_db_take_entry_lock(op, tty);
    if (__builtin_expect(error != 0, 0)) {
      tty_db_report_kernel_error(op, "Obtain TTY lock", error);
      return TTY_DB_ERR_LOCK_FAILED;
    }
  }
  tty_db_set_lock_owner(tty, pthread_self());
  return 0;
}

// Unlocks an entry, or ends the process.  Needs no database lock.
inline void tty_db_unlock_tty(const tty_db_type *db_h, tty_db_tty_type *tty) {
  const tty_db_speaker op(TTY_DB_TRACE_TTY);
  if ((db_h->options & TTY_DB_OPT_LOCK_ENTRIES) == 0) return;
  TTY_DB_SAY("Unlocking entry");
  TTY_DB_ASSERT(pthread_mutex_trylock(&tty->lock) == EBUSY);
  tty_db_set_lock_owner(tty, TTY_DB_NO_OWNER);
  const int error = pthread_mutex_unlock(&tty->lock);
  if (__builtin_expect(error != 0, 0)) tty_db_fatal_error(op, "Release TTY lock", error);
}

#endif  // TTY_DB_TTY_ENTRY_H
