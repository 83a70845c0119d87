// The entry of a line: its lock, its end, and its slot.

#include "tty/entry.h"

#include <stdlib.h>

uint32_t tty_db_create_entry_lock(tty_db_tty_type *tty, const char *routine) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, routine, "Initializing entry's mutex");
  pthread_mutexattr_t attributes;
  int error = pthread_mutexattr_init(&attributes);
  if (error == 0) {
    error = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    if (error == 0) error = pthread_mutex_init(&tty->lock, &attributes);
    pthread_mutexattr_destroy(&attributes);
  }
  if (error != 0) {
    tty_db_report_kernel_error(TTY_DB_TRACE_TTY, "Initialize TTY Entry lock", error, routine);
    return TTY_DB_ERR_LOCK_INIT;
  }
  tty_db_set_lock_owner(tty, TTY_DB_NO_OWNER);
  return 0;
}

int tty_db_take_entry_lock(tty_db_tty_type *tty, const char *routine) {
  int error = pthread_mutex_trylock(&tty->lock);
  if (error == EBUSY) {
    ptd_set_mutex_block(&tty->lock, routine, __LINE__);
    error = pthread_mutex_lock(&tty->lock);
    ptd_unset_mutex_block();
  }
  return error;
}

namespace {

// The wait of deregistration and of entry clean-up, which both announce under one name.
int take_for_cleanup(tty_db_tty_type *tty) {
  return tty_db_take_entry_lock(tty, "tty_db_cleanup_entry");
}

}  // namespace

void tty_db_wait_for_holder(tty_db_tty_type *tty) {
  if (take_for_cleanup(tty) == 0) pthread_mutex_unlock(&tty->lock);
}

void tty_db_cleanup_entry(tty_db_tty_type *tty, bool lock_initialized) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_ENTRY, __func__,
                  "Entering ..tty=%X, lock_initialized = %d", tty, lock_initialized);
  if (lock_initialized) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, __func__, "Destroying entry lock");
    if (TTY_DB_ASSERT(tty != NULL)) {
      // A thread that deregisters an entry that it holds itself has nobody to wait for; its hold
      // ends here.
      const int taken = take_for_cleanup(tty);
      TTY_DB_ASSERT_TEXT(taken == 0 || taken == EDEADLK, "pthread_mutex_lock(&(tty->lock))==0");
      const int released = pthread_mutex_unlock(&tty->lock);
      TTY_DB_ASSERT_TEXT(released == 0, "pthread_mutex_unlock(&(tty->lock))==0");
      const int error = pthread_mutex_destroy(&tty->lock);
      if (error != 0) tty_db_trace_failed_call(TTY_DB_TRACE_TTY, "pthread_mutex_destroy", error);
      tty_db_set_lock_owner(tty, TTY_DB_NO_OWNER);
    }
  }
  if (tty != nullptr) {
    TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, __func__, "Freeing entry structure %X",
                    tty);
    TTY_DB_ASSERT(tty->item_list_head == NULL);
    free(tty);
  }
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_EXIT, __func__, "Exiting ..");
}

void tty_db_set_entry_in_block(tty_db_block_type *block, uint32_t tty_id, tty_db_tty_type *tty) {
  TTY_DB_TRACE_IF(TTY_DB_TRACE_TTY, TTY_DB_TRACE_LINE, __func__,
                  "Setting entry structure to %X for TTY %lu in block %X", tty, tty_id, block);
  if (!TTY_DB_ASSERT(block != NULL)) return;
  if (!TTY_DB_ASSERT(TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id) < block->details.capacity)) return;
  block->ttys[TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id)] = tty;
}
