/* The result codes: an operation that fails says why, and has changed
 * nothing. */
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>

enum { SERIAL = 1 };

#define NAME(code) \
  { TTY_DB_ERR_##code, #code }

static const char *name_of(uint32_t rc) {
  static const struct {
    uint32_t code;
    const char *name;
  } names[] = {
      NAME(NO_MEMORY),      NAME(INVALID_ARG), NAME(WRONG_MODE),
      NAME(LOCK_FAILED),    NAME(LOCK_INIT),   NAME(NO_BLOCK),
      NAME(OVERLAP),        NAME(ITEM_EXISTS), NAME(TTY_EXISTS),
      NAME(NO_MORE),        NAME(NO_ITEM),     NAME(NOT_REGISTERED),
      NAME(TTYS_REGISTERED)};
  if (rc == 0) return "success";
  for (size_t i = 0; i < sizeof(names) / sizeof(names[0]); ++i) {
    if (names[i].code == rc) return names[i].name;
  }
  return "unknown";
}

int main(void) {
  tty_db_type *db;
  tty_db_tty_type *tty;
  tty_db_block_type *block;
  uint32_t rc = tty_db_create(TTY_DB_OPT_AUTO_BLOCKS, &db);
  printf("create a database: %s\n", name_of(rc));
  if (rc != 0) return EXIT_FAILURE;

  rc = tty_db_block_reserve(db, SERIAL, 0, 10, NULL, 0, &block);
  printf("reserve a block in it: %s (0x%x)\n", name_of(rc),
         (unsigned)rc);

  /* Line 7 has no block, until a line beside it has made one. */
  rc = tty_db_tty_deregister(db, SERIAL, 7);
  printf("deregister line 7: %s\n", name_of(rc));
  rc = tty_db_tty_register(db, SERIAL, 8, sizeof(*tty), &tty);
  printf("register line 8: %s\n", name_of(rc));
  rc = tty_db_tty_deregister(db, SERIAL, 7);
  printf("deregister line 7: %s\n", name_of(rc));
  return tty_db_destroy(db) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
