// The write lock of a database.

#include "db/lock.h"

#include <time.h>
#include <unistd.h>

#undef NDEBUG  // the assertion below is in every build type
#include <assert.h>

static_assert(sizeof(time_t) == 8, "time_t must represent times after 2038");

int tty_db_rwlock_trywrlock(pthread_rwlock_t *rwlock) {
  const int error = pthread_rwlock_trywrlock(rwlock);
  if (error != EBUSY) return error;

  // EBUSY does not say whether the calling thread holds the lock.  The timed call does; its
  // deadline has passed, so it does not wait.
  timespec now;
  const int retval = clock_gettime(CLOCK_REALTIME, &now);
  assert(retval == 0);
  const int timed_error = pthread_rwlock_timedwrlock(rwlock, &now);
  return timed_error == ETIMEDOUT ? EBUSY : timed_error;
}

bool tty_db_is_writelocked(tty_db_type *db) {
  const int error = tty_db_rwlock_trywrlock(&db->rwlock);
  if (error == 0) pthread_rwlock_unlock(&db->rwlock);
  return error == EDEADLK;
}

namespace {

int64_t monotonic_usec() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

// The pause of a writer.  Neither a signal nor a cancellation ends it early.
[[gnu::cold, gnu::noinline]] void pause_before_retry() {
  int cancel_state;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
  const int64_t end = monotonic_usec() + TTY_DB_WRITELOCK_RETRY_USEC;
  for (int64_t left = TTY_DB_WRITELOCK_RETRY_USEC; left > 0; left = end - monotonic_usec()) {
    if (usleep(static_cast<useconds_t>(left)) == 0) break;
  }
  pthread_setcancelstate(cancel_state, nullptr);
}

}  // namespace

uint32_t tty_db_writelock(tty_db_speaker caller, tty_db_type *db) {
  const tty_db_speaker op(caller.category);
  if (!TTY_DB_ASSERT(db != NULL)) return TTY_DB_ERR_INVALID_ARG;
  TTY_DB_SAY("Obtaining writelock for DB %X", db);
  for (int remaining = TTY_DB_WRITELOCK_ATTEMPTS; remaining > 0; --remaining) {
    const int error = tty_db_rwlock_trywrlock(&db->rwlock);
    if (error == 0) return 0;
    if (error != EBUSY) break;
    pause_before_retry();
  }
  return TTY_DB_ERR_LOCK_FAILED;
}
