/* A host with a service of its own: it prints the library's messages,
 * in place of the stand-in. */
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>
#include <tty_platform.h>

int kel_errmsg(const void *record, int severity, ...) {
  const tty_db_msg_rec_type *message = record;
  int cancel_state; /* output is a cancellation point */
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
  va_list arguments;
  va_start(arguments, severity);
  printf("message: %s: ", message->mnemonic);
  vprintf(message->format, arguments);
  putchar('\n');
  va_end(arguments);
  pthread_setcancelstate(cancel_state, NULL);
  return 0;
}

int main(void) {
  tty_db_type *db;
  tty_db_tty_type *tty;
  if (tty_db_create(TTY_DB_OPT_ALL, &db) != 0) return EXIT_FAILURE;
  if (tty_db_tty_register(db, 1, 7, sizeof(*tty), &tty) != 0)
    return EXIT_FAILURE;
  /* This thread holds the entry already: the library returns an error,
   * and raises a message. */
  if (tty_db_tty_retrieve(db, 1, 7, &tty) != TTY_DB_ERR_LOCK_FAILED)
    return EXIT_FAILURE;
  return tty_db_destroy(db) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
