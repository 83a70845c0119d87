/* The life of a database. */
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>

int main(void) {
  tty_db_type *db;
  uint32_t blocks, lines;
  const uint32_t rc = tty_db_create(
      TTY_DB_OPT_LOCK_ENTRIES | TTY_DB_OPT_AUTO_BLOCKS, &db);
  if (rc != 0) {
    fprintf(stderr, "tty_db_create: 0x%x\n", (unsigned)rc);
    return EXIT_FAILURE;
  }
  if (tty_db_get_details(db, &blocks, &lines) == 0) {
    printf("%u blocks, %u lines\n", (unsigned)blocks, (unsigned)lines);
  }
  return tty_db_destroy(db) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
