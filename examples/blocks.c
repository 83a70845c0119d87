/* Manual blocks: ranges of ids that the caller reserves, finds by tag,
 * resizes and releases. */
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>

enum { SERIAL = 1 };

static void check(uint32_t rc, const char *what) {
  if (rc == 0) return;
  fprintf(stderr, "%s: 0x%x\n", what, (unsigned)rc);
  exit(EXIT_FAILURE);
}

static void expect(uint32_t rc, uint32_t expected, const char *what) {
  if (rc == expected) return;
  fprintf(stderr, "%s: 0x%x instead of 0x%x\n", what, (unsigned)rc,
          (unsigned)expected);
  exit(EXIT_FAILURE);
}

static void print_block(const tty_db_block_details_type *block) {
  printf("%s: ids %u to %u, slot %u, %u registered\n", block->tag_name,
         (unsigned)block->first_tty,
         (unsigned)(block->first_tty + block->capacity - 1),
         (unsigned)block->ctx, (unsigned)block->num_registered);
}

int main(void) {
  tty_db_type *db;
  tty_db_block_type *left, *right;
  check(tty_db_create(TTY_DB_OPT_LOCK_ENTRIES, &db), "create");
  check(tty_db_block_reserve(db, SERIAL, 0, 8, "left card", 1, &left),
        "reserve");
  check(tty_db_block_reserve(db, SERIAL, 8, 8, "right card", 2, &right),
        "reserve");

  tty_db_tty_type *tty;
  expect(tty_db_tty_register(db, SERIAL, 20, sizeof(*tty), &tty),
         TTY_DB_ERR_NO_BLOCK, "register");
  check(tty_db_tty_register(db, SERIAL, 13, sizeof(*tty), &tty),
        "register");
  check(tty_db_tty_unlock(db, tty), "unlock");

  tty_db_block_details_type block;
  check(tty_db_block_details_from_tag(db, "left card", &block),
        "find by tag");
  print_block(&block);
  check(tty_db_block_details_from_tty(db, SERIAL, 13, &block),
        "find by line");
  print_block(&block);

  /* Line 13 is not in 8 to 11.  Without the option it would be
   * deregistered. */
  expect(tty_db_block_resize(db, right, 8, 4,
                             TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG),
         TTY_DB_ERR_TTYS_REGISTERED, "shrink");
  expect(tty_db_block_resize(db, right, 4, 12, 0), TTY_DB_ERR_OVERLAP,
         "grow downwards");
  check(tty_db_block_resize(db, right, 8, 16, 0), "grow upwards");
  check(tty_db_block_details_from_handle(db, right, &block), "details");
  print_block(&block);

  check(
      tty_db_block_release(db, left, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG),
      "release");
  /* Deregisters line 13. */
  check(tty_db_block_release(db, right, 0), "release");
  expect(tty_db_block_details_from_tag(db, "right card", &block),
         TTY_DB_ERR_NO_BLOCK, "find");
  check(tty_db_destroy(db), "destroy");
  return EXIT_SUCCESS;
}
