/* The text of a result code.  The program calls the stand-in, and links
 * it: cc results.c $(pkg-config --cflags --libs ttydb ttyplatform) */
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>
#include <tty_platform.h>

enum { SERIAL = 1 };

static void report(const char *what, uint32_t rc) {
  const char *text = rc == 0 ? "Success" : qerr_strerror(rc);
  printf("%s: %s (0x%x)\n", what, text != NULL ? text : "Unknown",
         (unsigned)rc);
}

int main(void) {
  tty_db_type *db;
  tty_db_tty_type *tty;
  tty_db_block_type *block;
  uint32_t rc = tty_db_create(TTY_DB_OPT_AUTO_BLOCKS, &db);
  report("create a database", rc);
  if (rc != 0) return EXIT_FAILURE;
  report("reserve a block in it",
         tty_db_block_reserve(db, SERIAL, 0, 10, NULL, 0, &block));

  /* Line 7 has no block, until a line beside it has made one. */
  report("retrieve line 7", tty_db_tty_retrieve(db, SERIAL, 7, &tty));
  report("deregister line 7", tty_db_tty_deregister(db, SERIAL, 7));
  report("register line 8",
         tty_db_tty_register(db, SERIAL, 8, sizeof(*tty), &tty));
  report("deregister line 7", tty_db_tty_deregister(db, SERIAL, 7));
  return tty_db_destroy(db) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
