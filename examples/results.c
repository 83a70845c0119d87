/* The result codes, with their texts in the platform's stand-in, which
 * the program links too:
 * cc results.c $(pkg-config --cflags --libs ttydb ttyplatform) */
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>
#include <tty_platform.h>

#define RESULT(name) \
  { #name, TTY_DB_ERR_##name }

static const struct {
  const char *name;
  uint32_t code;
} results[] = {
    RESULT(NO_MEMORY),       RESULT(INVALID_ARG), RESULT(WRONG_MODE),
    RESULT(LOCK_FAILED),     RESULT(LOCK_INIT),   RESULT(NO_BLOCK),
    RESULT(OVERLAP),         RESULT(ITEM_EXISTS), RESULT(TTY_EXISTS),
    RESULT(NO_MORE),         RESULT(NO_ITEM),     RESULT(NOT_REGISTERED),
    RESULT(TTYS_REGISTERED),
};

/* The text of any result; a host without texts for the library's codes
 * has none. */
static const char *text_of(uint32_t rc) {
  if (rc == 0) return "Success";
  const char *text = qerr_strerror(rc);
  return text != NULL ? text : "Unknown result";
}

int main(void) {
  for (size_t i = 0; i < sizeof(results) / sizeof(results[0]); ++i) {
    printf("%-16s 0x%x  %s\n", results[i].name,
           (unsigned)results[i].code, text_of(results[i].code));
  }

  tty_db_type *db;
  uint32_t rc = tty_db_create(TTY_DB_OPT_AUTO_BLOCKS, &db);
  printf("\ncreate a database: %s\n", text_of(rc));
  if (rc != 0) return EXIT_FAILURE;

  tty_db_block_type *block;
  rc = tty_db_block_reserve(db, 1, 0, 10, NULL, 0, &block);
  printf("reserve a block in it: %s\n", text_of(rc));
  rc = tty_db_tty_deregister(db, 1, 7);
  printf("deregister a line that never was: %s\n", text_of(rc));
  return tty_db_destroy(db) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
