/* Deregisters lines that other threads use all the time. */
#define _POSIX_C_SOURCE 200809L /* nanosleep, in strict C too */

#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <tty_db.h>

enum { SERIAL = 1, LINES = 8, USERS = 4, TRIES = 50 };

/* While it is set, the users pause. */
static atomic_bool change_wanted;

static void check(uint32_t rc, const char *what) {
  if (rc == 0) return;
  fprintf(stderr, "%s: 0x%x\n", what, (unsigned)rc);
  exit(EXIT_FAILURE);
}

static void millisecond(void) {
  nanosleep(&(struct timespec){.tv_nsec = 1000000}, NULL);
}

/* Uses the lines in turn, holding one at a time, until none is left. */
static void *use(void *db) {
  for (uint32_t id = 0, gone = 0; gone < LINES; id = (id + 1) % LINES) {
    while (change_wanted) millisecond();
    tty_db_tty_type *tty;
    const uint32_t rc = tty_db_tty_retrieve(db, SERIAL, id, &tty);
    gone = rc == TTY_DB_ERR_NOT_REGISTERED ? gone + 1 : 0;
    if (rc == TTY_DB_ERR_NOT_REGISTERED) continue;
    check(rc, "retrieve");
    millisecond(); /* the work */
    check(tty_db_tty_unlock(db, tty), "unlock");
  }
  return NULL;
}

/* Tries again if the database is busy: a failed call has changed
 * nothing. */
static uint32_t deregister(tty_db_type *db, uint32_t id) {
  uint32_t rc = TTY_DB_ERR_LOCK_FAILED;
  change_wanted = 1;
  for (int i = 0; i < TRIES && rc == TTY_DB_ERR_LOCK_FAILED; ++i) {
    rc = tty_db_tty_deregister(db, SERIAL, id);
  }
  change_wanted = 0;
  return rc;
}

int main(void) {
  tty_db_type *db;
  check(tty_db_create(TTY_DB_OPT_ALL, &db), "create");
  for (uint32_t id = 0; id < LINES; ++id) {
    tty_db_tty_type *tty;
    check(tty_db_tty_register(db, SERIAL, id, sizeof(*tty), &tty),
          "register");
    check(tty_db_tty_unlock(db, tty), "unlock");
  }
  pthread_t users[USERS];
  for (int i = 0; i < USERS; ++i) {
    if (pthread_create(&users[i], NULL, use, db) != 0)
      exit(EXIT_FAILURE);
  }
  for (uint32_t id = 0; id < LINES; ++id) {
    check(deregister(db, id), "deregister");
  }
  for (int i = 0; i < USERS; ++i) pthread_join(users[i], NULL);
  printf("%d lines deregistered\n", LINES);
  check(tty_db_destroy(db), "destroy");
  return EXIT_SUCCESS;
}
