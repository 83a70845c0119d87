// The entry of a line, and its lock.
//
// An entry is allocated and its lock created by registration; the lock is then held and given back
// in turns, by the threads that register and retrieve it; deregistration waits for the holder,
// destroys the lock and frees the entry.  While registered, an entry is in exactly one slot of one
// block.
//
// What is read or written here without the database lock: the options, which never change after
// creation; an entry's mutex and items, which its holder keeps from being freed; and lock_owner, a
// diagnostic word that several threads may write at once, and so is written atomically.

#ifndef TTY_DB_TTY_ENTRY_H
#define TTY_DB_TTY_ENTRY_H

#include "block/block.h"
#include "db/lock.h"

// The owner of an entry that nobody holds.
constexpr pthread_t TTY_DB_NO_OWNER = 0xFFFFFFFFu;

// Names the owner of an entry.  Without entry locking several threads may do so at once.
inline void tty_db_set_lock_owner(tty_db_tty_type *tty, pthread_t owner) {
  __atomic_store_n(&tty->lock_owner, owner, __ATOMIC_RELAXED);
}

// Checks the arguments that name a line, under the line of the source of the operation.
inline void tty_db_require_line(tty_db_operation &op, const tty_db_type *db_h, uint32_t category,
                                uint32_t tty_id, int line = __builtin_LINE()) {
  TTY_DB_REQUIRE_AT(line, db_h != nullptr, "NULL DB handle");
  TTY_DB_REQUIRE_AT(line, category <= TTY_CATEGORY_MAX, "Invalid category %d", category);
  TTY_DB_REQUIRE_AT(line, tty_id <= TTY_PORT_MAX, "Invalid TTY Id %d", tty_id);
}

// Creates the lock of a new entry.  Returns 0 or TTY_DB_ERR_LOCK_INIT.
uint32_t tty_db_create_entry_lock(tty_db_speaker op, tty_db_tty_type *tty,
                                  int line = __builtin_LINE());

// Takes an entry's lock, waiting for its holder; the wait is announced to the thread-block
// diagnostics.  Returns 0 or an error number: EDEADLK where the calling thread is the holder.
int tty_db_take_entry_lock(tty_db_speaker op, tty_db_tty_type *tty, int line = __builtin_LINE());

// Waits until no other thread holds an entry.  REQUIRES: the write lock, so that no thread obtains
// the entry any more.
void tty_db_wait_for_holder(tty_db_tty_type *tty);

// Frees an entry, or nothing for NULL; where its lock has been created, waits for the holder and
// destroys it first.  REQUIRES: the write lock; the entry is in no slot and has no items.
void tty_db_cleanup_entry(tty_db_tty_type *tty, bool lock_initialized);

// Obtains an entry for the calling thread.  REQUIRES: the database lock.
// Returns 0 or TTY_DB_ERR_LOCK_FAILED.
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

// Gives an entry back, or ends the process.  Needs no database lock.
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
