/* Uses the library alone, and provides one service itself. */

#include <tty_db.h>
#include <tty_platform.h>
#include <unistd.h>

/* Not for the end of a process. */
void tty_debug_cleanup(const char *name, tty_trace_context *context, uintptr_t enabled) {
  (void)name;
  (void)context;
  (void)enabled;
  _exit(1);
}

int main(void) {
  tty_db_type *db;
  if (tty_db_create(0, &db) != 0) return 1;
  return tty_db_destroy(db) == 0 ? 0 : 1;
}
