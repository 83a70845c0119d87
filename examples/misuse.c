/* A mistake that an assertion of the library finds: an entry is
 * unlocked twice. */
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>

int main(void) {
  tty_db_type *db;
  tty_db_tty_type *tty;
  if (tty_db_create(TTY_DB_OPT_ALL, &db) != 0) return EXIT_FAILURE;
  if (tty_db_tty_register(db, 1, 7, sizeof(*tty), &tty) != 0)
    return EXIT_FAILURE;
  tty_db_tty_unlock(db, tty);
  /* The mistake: this thread no longer holds the entry. */
  tty_db_tty_unlock(db, tty);
  puts("went on");
  return tty_db_destroy(db) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
