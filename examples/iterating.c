/* Iterates while another thread registers and deregisters lines. */
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>

enum { SERIAL = 1, LINES = 100, WALKS = 50 };

static atomic_bool stop;

static void check(uint32_t rc, const char *what) {
  if (rc == 0) return;
  fprintf(stderr, "%s: 0x%x\n", what, (unsigned)rc);
  exit(EXIT_FAILURE);
}

/* Registers and deregisters the lines with odd ids.  A call that fails,
 * because the database is busy, is made again in the next round. */
static void *churn(void *db) {
  for (uint32_t id = 1; !stop; id = (id + 2) % LINES) {
    tty_db_tty_type *tty;
    if (tty_db_tty_register(db, SERIAL, id, sizeof(*tty), &tty) == 0) {
      tty_db_tty_unlock(db, tty);
    }
    tty_db_tty_deregister(db, SERIAL, id);
  }
  return NULL;
}

int main(void) {
  tty_db_type *db;
  check(tty_db_create(TTY_DB_OPT_ALL, &db), "create");
  for (uint32_t id = 0; id < LINES; id += 2) {
    tty_db_tty_type *tty;
    check(tty_db_tty_register(db, SERIAL, id, sizeof(*tty), &tty),
          "register");
    check(tty_db_tty_unlock(db, tty), "unlock");
  }
  pthread_t churner;
  if (pthread_create(&churner, NULL, churn, db) != 0) exit(EXIT_FAILURE);

  unsigned stayed = 0;
  for (int walk = 0; walk < WALKS; ++walk) {
    tty_db_iterator_type *lines;
    uint32_t category, id, rc;
    check(tty_db_iterate_start(db, SERIAL, 0, SERIAL, TTY_PORT_MAX,
                               &lines),
          "start");
    while ((rc = tty_db_iterate_next(lines, &category, &id)) == 0) {
      tty_db_tty_type *tty;
      rc = tty_db_tty_retrieve(db, category, id, &tty);
      /* The line may be gone since the advance. */
      if (rc == TTY_DB_ERR_NOT_REGISTERED) continue;
      check(rc, "retrieve");
      if (id % 2 == 0) ++stayed;
      /* Unlock before the next advance. */
      check(tty_db_tty_unlock(db, tty), "unlock");
    }
    if (rc != TTY_DB_ERR_NO_MORE) check(rc, "next");
    check(tty_db_iterate_end(lines), "end");
  }
  stop = 1;
  pthread_join(churner, NULL);
  printf("%d walks saw %u lines that stay\n", WALKS, stayed);
  check(tty_db_destroy(db), "destroy");
  return EXIT_SUCCESS;
}
