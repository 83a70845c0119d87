/* A thread looks up who waits for an entry, and who holds it.  The
 * program calls the stand-in, and links it:
 * cc tracing.c $(pkg-config --cflags --libs ttydb ttyplatform) */
#define _POSIX_C_SOURCE 200809L /* nanosleep, in strict C too */

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <tty_db.h>
#include <tty_thread_block.h>

enum { SERIAL = 1 };

static void check(uint32_t rc, const char *what) {
  if (rc == 0) return;
  const char *text = qerr_strerror(rc);
  fprintf(stderr, "%s: %s (0x%x)\n", what,
          text != NULL ? text : "unknown", (unsigned)rc);
  exit(EXIT_FAILURE);
}

static void *retrieve_line_7(void *db) {
  tty_db_tty_type *tty;
  check(tty_db_tty_retrieve(db, SERIAL, 7, &tty), "retrieve");
  check(tty_db_tty_unlock(db, tty), "unlock");
  return NULL;
}

int main(void) {
  tty_db_type *db;
  tty_db_tty_type *line_7, *line_8;
  check(tty_db_create(TTY_DB_OPT_ALL, &db), "create");
  check(tty_db_tty_register(db, SERIAL, 8, sizeof(*line_8), &line_8),
        "register");
  check(tty_db_tty_unlock(db, line_8), "unlock");
  check(tty_db_tty_register(db, SERIAL, 7, sizeof(*line_7), &line_7),
        "register");

  /* This thread holds line 7, and another one retrieves it. */
  pthread_t other;
  if (pthread_create(&other, NULL, retrieve_line_7, db) != 0)
    exit(EXIT_FAILURE);
  ptd_mutex_block waiting[4];
  while (ptd_list_mutex_blocks(waiting, 4) == 0) {
    nanosleep(&(struct timespec){.tv_nsec = 1000000}, NULL);
  }
  printf("one thread waits in %s for line %d\n", waiting[0].routine,
         waiting[0].mutex == &line_7->lock ? 7 : -1);
  const int mine = pthread_equal(line_7->lock_owner, pthread_self());
  printf("held by this thread: %s\n", mine ? "yes" : "no");

  /* The waiting thread keeps the read lock, so that writers fail. */
  const uint32_t rc = tty_db_tty_deregister(db, SERIAL, 8);
  printf("deregister line 8: %s\n",
         rc != 0 ? qerr_strerror(rc) : "done");
  check(tty_db_tty_unlock(db, line_7), "unlock");
  pthread_join(other, NULL);
  check(tty_db_tty_deregister(db, SERIAL, 8), "deregister");
  printf("waiting threads: %zu\n", ptd_list_mutex_blocks(NULL, 0));
  check(tty_db_destroy(db), "destroy");
  return EXIT_SUCCESS;
}
