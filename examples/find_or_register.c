/* Find a line, or register it: four threads use the same lines, and the
 * first that needs a line registers it. */
#define _POSIX_C_SOURCE 200809L /* nanosleep, in strict C too */

#include <pthread.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <tty_db.h>

enum { SERIAL = 1, LINES = 8, WORKERS = 4, TRIES = 50 };

struct port {
  tty_db_tty_type tty; /* the head comes first */
  unsigned baud;
  unsigned long uses;
};

static void check(uint32_t rc, const char *what) {
  if (rc == 0) return;
  fprintf(stderr, "%s: 0x%x\n", what, (unsigned)rc);
  exit(EXIT_FAILURE);
}

/* Hands out the entry of a line, held by the calling thread, and
 * reports whether it is new: then the caller fills it in before it
 * unlocks it.  The calling thread must not hold an entry. */
static uint32_t find_or_register(tty_db_type *db, uint32_t category,
                                 uint32_t id, size_t size,
                                 tty_db_tty_type **tty, bool *is_new) {
  uint32_t rc = TTY_DB_ERR_LOCK_FAILED;
  for (int i = 0; i < TRIES; ++i) {
    *is_new = false;
    rc = tty_db_tty_retrieve(db, category, id, tty);
    if (rc != TTY_DB_ERR_NOT_REGISTERED) return rc;
    *is_new = true;
    rc = tty_db_tty_register(db, category, id, size, tty);
    /* Another thread was faster, or the database was busy: try again. */
    if (rc != TTY_DB_ERR_TTY_EXISTS && rc != TTY_DB_ERR_LOCK_FAILED)
      return rc;
  }
  return rc;
}

static void *work(void *db) {
  for (uint32_t id = 0; id < LINES; ++id) {
    tty_db_tty_type *tty;
    bool is_new;
    check(find_or_register(db, SERIAL, id, sizeof(struct port), &tty,
                           &is_new),
          "find or register");
    struct port *port = (struct port *)tty;
    if (is_new) port->baud = 9600; /* no other thread has seen it */
    if (port->baud != 9600) exit(EXIT_FAILURE);
    ++port->uses;
    /* A millisecond of work. */
    nanosleep(&(struct timespec){.tv_nsec = 1000000}, NULL);
    check(tty_db_tty_unlock(db, tty), "unlock");
  }
  return NULL;
}

int main(void) {
  tty_db_type *db;
  check(tty_db_create(TTY_DB_OPT_ALL, &db), "create");
  pthread_t workers[WORKERS];
  for (int i = 0; i < WORKERS; ++i) {
    if (pthread_create(&workers[i], NULL, work, db) != 0)
      exit(EXIT_FAILURE);
  }
  for (int i = 0; i < WORKERS; ++i) pthread_join(workers[i], NULL);

  unsigned long uses = 0;
  for (uint32_t id = 0; id < LINES; ++id) {
    tty_db_tty_type *tty;
    check(tty_db_tty_retrieve(db, SERIAL, id, &tty), "retrieve");
    uses += ((struct port *)tty)->uses;
    check(tty_db_tty_unlock(db, tty), "unlock");
  }
  printf("%d lines, %lu uses\n", LINES, uses);
  check(tty_db_destroy(db), "destroy");
  return EXIT_SUCCESS;
}
