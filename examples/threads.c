/* Four threads share a database, and count on the same eight lines. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>

enum { SERIAL = 1, LINES = 8, WORKERS = 4, ROUNDS = 1000 };

struct port {
  tty_db_tty_type tty; /* the head comes first */
  unsigned long bytes_sent;
};

static void check(uint32_t rc, const char *what) {
  if (rc == 0) return;
  fprintf(stderr, "%s: 0x%x\n", what, (unsigned)rc);
  exit(EXIT_FAILURE);
}

static void *work(void *argument) {
  tty_db_type *db = argument;
  for (uint32_t round = 0; round < ROUNDS; ++round) {
    tty_db_tty_type *tty;
    check(tty_db_tty_retrieve(db, SERIAL, round % LINES, &tty),
          "retrieve");
    /* No other thread can use this entry now. */
    ((struct port *)tty)->bytes_sent += 10;
    check(tty_db_tty_unlock(db, tty), "unlock");
  }
  return NULL;
}

int main(void) {
  tty_db_type *db;
  check(tty_db_create(TTY_DB_OPT_LOCK_ENTRIES | TTY_DB_OPT_AUTO_BLOCKS,
                      &db),
        "create");
  for (uint32_t id = 0; id < LINES; ++id) {
    tty_db_tty_type *tty;
    check(tty_db_tty_register(db, SERIAL, id, sizeof(struct port), &tty),
          "register");
    /* Registering has locked the entry for this thread. */
    check(tty_db_tty_unlock(db, tty), "unlock");
  }

  pthread_t workers[WORKERS];
  for (int i = 0; i < WORKERS; ++i) {
    if (pthread_create(&workers[i], NULL, work, db) != 0)
      exit(EXIT_FAILURE);
  }
  for (int i = 0; i < WORKERS; ++i) pthread_join(workers[i], NULL);

  uint32_t blocks, lines;
  check(tty_db_get_details(db, &blocks, &lines), "get details");
  printf("%u lines in %u block\n", (unsigned)lines, (unsigned)blocks);
  for (uint32_t id = 0; id < LINES; ++id) {
    tty_db_tty_type *tty;
    check(tty_db_tty_retrieve(db, SERIAL, id, &tty), "retrieve");
    printf("line %u: %lu bytes\n", (unsigned)id,
           ((struct port *)tty)->bytes_sent);
    check(tty_db_tty_unlock(db, tty), "unlock");
  }
  check(tty_db_destroy(db), "destroy");
  return EXIT_SUCCESS;
}
