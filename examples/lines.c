/* The life of a line: registered, retrieved, deregistered. */
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>

enum { SERIAL = 1 };

struct port {
  tty_db_tty_type tty; /* the head comes first */
  unsigned baud;
};

int main(void) {
  tty_db_type *db;
  tty_db_tty_type *tty;
  uint32_t rc;
  if (tty_db_create(TTY_DB_OPT_ALL, &db) != 0) return EXIT_FAILURE;
  rc = tty_db_tty_register(db, SERIAL, 7, sizeof(struct port), &tty);
  if (rc != 0) return EXIT_FAILURE;
  ((struct port *)tty)->baud = 9600;
  /* Registering has locked the entry for this thread. */
  tty_db_tty_unlock(db, tty);

  rc = tty_db_tty_retrieve(db, SERIAL, 7, &tty);
  if (rc == 0) {
    printf("line 7: %u baud\n", ((struct port *)tty)->baud);
    tty_db_tty_unlock(db, tty);
  } else if (rc == TTY_DB_ERR_NOT_REGISTERED) {
    puts("line 7 is not registered");
  }

  /* If the database is busy: a failed call has changed nothing. */
  do {
    rc = tty_db_tty_deregister(db, SERIAL, 7);
  } while (rc == TTY_DB_ERR_LOCK_FAILED);
  if (rc == 0) rc = tty_db_destroy(db);
  return rc == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
