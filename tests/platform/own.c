/* One SERVICE of a host's own, to be loaded ahead of the stand-in. */

#include <stdio.h>
#include <time.h>

#ifdef OWN_tty_debug_initialize
#include "tty_platform.h"

void tty_debug_initialize(const char *name, uintptr_t word, const char *const *names,
                          uintptr_t *slot, int flags, tty_trace_context **context, uintptr_t *on) {
  static tty_trace_category categories[5];
  static tty_trace_context own = {categories, 5};
  for (int i = 0; i < 5; ++i) categories[i] = (tty_trace_category){name, names[i], 1};
  *context = &own;
  *on = word + (uintptr_t)flags + (slot != NULL);
}
#elif defined OWN_tty_debug_cleanup
void tty_debug_cleanup(const char *name) { fprintf(stderr, "cleanup-%s ", name); }
#elif defined OWN_clock_gettime
/* Tenths of a second, one a call. */
int clock_gettime(__attribute__((unused)) clockid_t clock, struct timespec *now) {
  static int tenths = 5;
  *now = (struct timespec){tenths / 10, tenths % 10 * 100000000L};
  ++tenths;
  return 0;
}
#elif defined OWN_localtime_r
#include <stdlib.h>
#include <unistd.h>

/* Half past, in the first process only. */
struct tm *localtime_r(const time_t *now, struct tm *local) {
  static pid_t first = 0;
  if (first == 0) first = getpid();
  if (first != getpid()) abort();
  gmtime_r(now, local)->tm_gmtoff = 1800;
  return local;
}
#else
long SERVICE(void) { return 0; }
#endif
