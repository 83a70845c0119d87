/* A host that prints the library's trace lines itself. */
#define _POSIX_C_SOURCE 200809L /* flockfile, in strict C too */

#include <inttypes.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <tty_db.h>
#include <tty_platform.h>

/* The library's trace categories, all off at first. */
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
  *context = &trace;
  *enabled = 1; /* a category may be turned on later */
}

void tty_debug_cleanup(const char *name, tty_trace_context *context,
                       uintptr_t enabled) {
  (void)name, (void)context, (void)enabled; /* nothing was allocated */
}

/* Formats the text of a trace line: the argument of a %s is a pointer,
 * any other is a 64-bit word.  vprintf expects smaller arguments. */
static void format_trace(FILE *out, const char *format, va_list words) {
  for (; *format != '\0'; ++format) {
    if (*format != '%') {
      putc(*format, out);
      continue;
    }
    if (*++format == 'l') ++format;
    if (*format == 's') {
      const char *text = va_arg(words, const char *);
      fputs(text != NULL ? text : "<NULL>", out);
    } else if (*format == 'd') {
      fprintf(out, "%" PRId64, va_arg(words, int64_t));
    } else if (*format == 'u') {
      fprintf(out, "%" PRIu64, va_arg(words, uint64_t));
    } else if (*format == 'x') {
      fprintf(out, "%" PRIx64, va_arg(words, uint64_t));
    } else if (*format == 'X') {
      fprintf(out, "%" PRIX64, va_arg(words, uint64_t));
    } else {
      return; /* no such conversion */
    }
  }
}

void tty_trace(tty_trace_category *category, int level, int flags,
               uintptr_t registration, int kind, const char *routine,
               int line, const char *format, ...) {
  (void)level, (void)flags, (void)registration, (void)line;
  /* The first line of a call has addresses, which differ. */
  if (kind == 1) return;
  int cancel_state; /* output is a cancellation point */
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
  va_list words;
  va_start(words, format);
  flockfile(stdout); /* one line at a time */
  printf("%s/%s %s: ", category->client, category->name, routine);
  format_trace(stdout, format, words);
  putchar('\n');
  funlockfile(stdout);
  va_end(words);
  pthread_setcancelstate(cancel_state, NULL);
}

/* Turns a category on (1) or off (0), at any time. */
static void set_tracing(const char *name, uintptr_t enabled) {
  for (uint32_t i = 0; i < trace.num_categories; ++i) {
    if (strcmp(categories[i].name, name) == 0)
      __atomic_store_n(&categories[i].enabled, enabled,
                       __ATOMIC_RELAXED);
  }
}

int main(void) {
  tty_db_type *db;
  tty_db_tty_type *tty;
  if (tty_db_create(TTY_DB_OPT_ALL, &db) != 0) return EXIT_FAILURE;
  set_tracing("tty", 1);
  /* Neither the category nor the id is in range. */
  tty_db_tty_retrieve(db, TTY_CATEGORY_MAX + 1, TTY_PORT_MAX + 1, &tty);
  set_tracing("tty", 0);
  return tty_db_destroy(db) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
