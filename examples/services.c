/* A host with services of its own: messages and the trace, in place of
 * the stand-in's. */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <tty_db.h>
#include <tty_platform.h>

/* The library's categories, of which this host wants one; see
 * tty_debug_initialize. */
static tty_trace_category categories[16];
static tty_trace_context trace = {categories, 0};

void tty_debug_initialize(const char *name, uintptr_t registration,
                          const char *const *names, uintptr_t *slot,
                          int flags, tty_trace_context **context,
                          uintptr_t *enabled) {
  (void)registration, (void)slot, (void)flags;
  for (; trace.num_categories < 16 && names[trace.num_categories];
       ++trace.num_categories) {
    categories[trace.num_categories] =
        (tty_trace_category){name, names[trace.num_categories], 0};
  }
  categories[2].enabled = 1; /* the third: "tty" */
  *context = &trace;
  *enabled = 1;
}

void tty_debug_cleanup(const char *name, tty_trace_context *context,
                       uintptr_t enabled) {
  (void)name, (void)context, (void)enabled; /* nothing was allocated */
}

void tty_trace(tty_trace_category *category, int level, int flags,
               uintptr_t registration, int kind, const char *routine,
               int line, const char *format, ...) {
  (void)level, (void)flags, (void)registration, (void)line, (void)format;
  if (kind != 1) return;
  printf("trace: %s/%s: %s\n", category->client, category->name,
         routine);
}

int kel_errmsg(const void *record, int severity, ...) {
  const tty_db_msg_rec_type *message = record;
  va_list arguments;
  va_start(arguments, severity);
  printf("message: %s: ", message->mnemonic);
  vprintf(message->format, arguments);
  putchar('\n');
  va_end(arguments);
  return 0;
}

int main(void) {
  tty_db_type *db;
  tty_db_tty_type *tty;
  if (tty_db_create(TTY_DB_OPT_ALL, &db) != 0) return EXIT_FAILURE;
  if (tty_db_tty_register(db, 1, 7, sizeof(*tty), &tty) != 0)
    return EXIT_FAILURE;
  /* This thread holds the entry already: the library fails, and raises
   * a message. */
  if (tty_db_tty_retrieve(db, 1, 7, &tty) != TTY_DB_ERR_LOCK_FAILED)
    return EXIT_FAILURE;
  return tty_db_destroy(db) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
