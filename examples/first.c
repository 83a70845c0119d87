/* Registers a line with an item, then visits all lines. */
#include <stdio.h>
#include <string.h>
#include <tty_db.h>

struct port {
  tty_db_tty_type tty; /* comes first, your data after it */
  unsigned baud;
};

int main(void) {
  tty_db_type *db;
  tty_db_tty_type *tty;
  tty_db_iterator_type *lines;
  uint32_t category, id;
  void *label;
  if (tty_db_create(TTY_DB_OPT_ALL, &db) != 0) return 1;
  if (tty_db_tty_register(db, 1, 7, sizeof(struct port), &tty) != 0) {
    return 1;
  }
  /* This thread holds the entry until it unlocks it. */
  ((struct port *)tty)->baud = 9600;
  if (tty_db_item_create(tty, 42, 16, &label) != 0) return 1;
  strcpy(label, "console");
  tty_db_tty_unlock(db, tty);

  if (tty_db_iterate_start(db, 0, 0, TTY_CATEGORY_MAX, TTY_PORT_MAX,
                           &lines) != 0) {
    return 1;
  }
  while (tty_db_iterate_next(lines, &category, &id) == 0) {
    if (tty_db_tty_retrieve(db, category, id, &tty) != 0) continue;
    if (tty_db_item_get(tty, 42, &label) != 0) label = "no label";
    printf("line %u:%u, %u baud, %s\n", category, id,
           ((struct port *)tty)->baud, (char *)label);
    tty_db_tty_unlock(db, tty);
  }
  tty_db_iterate_end(lines);
  return tty_db_destroy(db) == 0 ? 0 : 1;
}
