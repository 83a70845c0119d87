/* Items: data under a key, attached to the entry of a line. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <tty_db.h>

enum { SERIAL = 1 };

/* The keys of this program's items, and the types of their data. */
enum {
  ITEM_BAUD, /* unsigned */
  ITEM_NAME, /* a string */
  ITEM_LOG,  /* a string */
};

static void check(uint32_t rc, const char *what) {
  if (rc == 0) return;
  fprintf(stderr, "%s: 0x%x\n", what, (unsigned)rc);
  exit(EXIT_FAILURE);
}

static void set_string(tty_db_tty_type *tty, uint32_t key,
                       const char *text) {
  void *data;
  const size_t size = strlen(text) + 1;
  check(tty_db_item_create(tty, key, size, &data), "create item");
  memcpy(data, text, size);
}

int main(void) {
  tty_db_type *db;
  tty_db_tty_type *tty;
  check(tty_db_create(TTY_DB_OPT_ALL, &db), "create");
  check(tty_db_tty_register(db, SERIAL, 7, sizeof(*tty), &tty),
        "register");

  void *data;
  check(tty_db_item_create(tty, ITEM_BAUD, sizeof(unsigned), &data),
        "create item");
  *(unsigned *)data = 9600;
  set_string(tty, ITEM_NAME, "modem");
  check(tty_db_tty_unlock(db, tty), "unlock");

  /* Later, perhaps in another thread. */
  check(tty_db_tty_retrieve(db, SERIAL, 7, &tty), "retrieve");
  check(tty_db_item_get(tty, ITEM_NAME, &data), "get item");
  printf("name: %s\n", (const char *)data);
  check(tty_db_item_get(tty, ITEM_BAUD, &data), "get item");
  printf("baud: %u\n", *(const unsigned *)data);
  if (tty_db_item_get(tty, ITEM_LOG, &data) == TTY_DB_ERR_NO_ITEM) {
    puts("no log");
  }

  /* The size of an item is fixed: to change it, destroy the item and
   * create it again. */
  check(tty_db_item_destroy(tty, ITEM_NAME), "destroy item");
  set_string(tty, ITEM_NAME, "terminal server");
  check(tty_db_item_get(tty, ITEM_NAME, &data), "get item");
  printf("name: %s\n", (const char *)data);
  check(tty_db_tty_unlock(db, tty), "unlock");

  /* Frees the items too. */
  check(tty_db_tty_deregister(db, SERIAL, 7), "deregister");
  check(tty_db_destroy(db), "destroy");
  return EXIT_SUCCESS;
}
