// The lock and the destruction of an entry.

#include "tty/entry.h"

#include <stdlib.h>

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_TTY;

// Initializes an error-checking mutex.  Returns 0 or an error number.
int initialize_mutex(pthread_mutex_t *mutex) {
  pthread_mutexattr_t attributes;
  int error = pthread_mutexattr_init(&attributes);
  if (error != 0) return error;
  error = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
  if (error == 0) error = pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return error;
}

// Takes the entry lock for deregistration or clean-up; both announce the wait with one name.
int take_for_cleanup(tty_db_tty_type *tty) {
  return tty_db_take_entry_lock(tty_db_speaker(kTrace, "tty_db_cleanup_entry"), tty);
}

}  // namespace

uint32_t tty_db_create_entry_lock(tty_db_speaker op, tty_db_tty_type *tty, int line) {
  TTY_DB_SAY_AT(line, "Initializing entry's mutex");
  const int error = initialize_mutex(&tty->lock);
  if (error != 0) {
    tty_db_report_kernel_error(op, "Initialize TTY Entry lock", error, line);
    return TTY_DB_ERR_LOCK_INIT;
  }
  tty_db_set_lock_owner(tty, TTY_DB_NO_OWNER);
  return 0;
}

int tty_db_take_entry_lock(tty_db_speaker op, tty_db_tty_type *tty, int line) {
  int error = pthread_mutex_trylock(&tty->lock);
  if (error == EBUSY) {
    ptd_set_mutex_block(&tty->lock, op.routine, line);
    error = pthread_mutex_lock(&tty->lock);
    ptd_unset_mutex_block();
  }
  return error;
}

void tty_db_wait_for_holder(tty_db_tty_type *tty) {
  if (take_for_cleanup(tty) == 0) pthread_mutex_unlock(&tty->lock);
}

void tty_db_cleanup_entry(tty_db_tty_type *tty, bool lock_initialized) {
  const tty_db_speaker op(kTrace);
  TTY_DB_ENTER("tty=%X, lock_initialized = %d", tty, lock_initialized);
  if (lock_initialized) {
    TTY_DB_SAY("Destroying entry lock");
    if (TTY_DB_ASSERT(tty != NULL)) {
      // EDEADLK: the calling thread holds the entry itself.
      const int taken = take_for_cleanup(tty);
      TTY_DB_ASSERT_TEXT(taken == 0 || taken == EDEADLK, "pthread_mutex_lock(&(tty->lock))==0");
      const int released = pthread_mutex_unlock(&tty->lock);
      TTY_DB_ASSERT_TEXT(released == 0, "pthread_mutex_unlock(&(tty->lock))==0");
      const int error = pthread_mutex_destroy(&tty->lock);
      if (error != 0) tty_db_trace_failed_call(op, "pthread_mutex_destroy", error);
      tty_db_set_lock_owner(tty, TTY_DB_NO_OWNER);
    }
  }
  if (tty != nullptr) {
    TTY_DB_SAY("Freeing entry structure %X", tty);
    TTY_DB_ASSERT(tty->item_list_head == NULL);
    free(tty);
  }
  op.exit();
}
