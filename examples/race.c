/* Threads that share a line, for valgrind's tools.  With an argument,
 * they also share a counter without a lock. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>

enum { SERIAL = 1, SHARED = 7, WORKERS = 4, ROUNDS = 50 };

struct port {
  tty_db_tty_type tty; /* the head comes first */
  unsigned long uses;
};

static tty_db_type *db;
static int mistaken;
static unsigned workers_started;

static void check(uint32_t rc, const char *what) {
  if (rc == 0) return;
  fprintf(stderr, "%s: 0x%x\n", what, (unsigned)rc);
  exit(EXIT_FAILURE);
}

static void *work(void *argument) {
  const uint32_t own = *(const uint32_t *)argument;
  if (mistaken) ++workers_started; /* a data race: no lock is held */
  for (int round = 0; round < ROUNDS; ++round) {
    tty_db_tty_type *tty;
    check(tty_db_tty_retrieve(db, SERIAL, SHARED, &tty), "retrieve");
    ++((struct port *)tty)->uses;
    check(tty_db_tty_unlock(db, tty), "unlock");

    /* Each worker registers and deregisters a line of its own. */
    uint32_t rc;
    do {
      rc = tty_db_tty_register(db, SERIAL, own, sizeof(struct port),
                               &tty);
    } while (rc == TTY_DB_ERR_LOCK_FAILED);
    check(rc, "register");
    while ((rc = tty_db_tty_deregister(db, SERIAL, own)) ==
           TTY_DB_ERR_LOCK_FAILED)
      continue;
    check(rc, "deregister");
  }
  return NULL;
}

int main(int argc, char **argv) {
  (void)argv;
  mistaken = argc > 1;
  tty_db_tty_type *tty;
  check(tty_db_create(TTY_DB_OPT_ALL, &db), "create");
  check(
      tty_db_tty_register(db, SERIAL, SHARED, sizeof(struct port), &tty),
      "register");
  check(tty_db_tty_unlock(db, tty), "unlock");

  pthread_t workers[WORKERS];
  uint32_t own[WORKERS];
  for (uint32_t i = 0; i < WORKERS; ++i) {
    own[i] = 100 + 10 * i;
    if (pthread_create(&workers[i], NULL, work, &own[i]) != 0)
      exit(EXIT_FAILURE);
  }
  for (int i = 0; i < WORKERS; ++i) pthread_join(workers[i], NULL);

  check(tty_db_tty_retrieve(db, SERIAL, SHARED, &tty), "retrieve");
  printf("%lu uses\n", ((struct port *)tty)->uses);
  check(tty_db_tty_unlock(db, tty), "unlock");
  check(tty_db_destroy(db), "destroy");
  return EXIT_SUCCESS;
}
