// The report of failed assertions: a line on standard error, then abort, unless the environment
// variable TTY_ASSERT is "report".

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "tty_platform.h"

void tty_ltrace_assert(const char *routine, int line, const char *expression) {
  dprintf(STDERR_FILENO, "Assertion failed in %s, line %d: %s\n", routine, line, expression);
  const char *mode = getenv("TTY_ASSERT");
  if (mode == nullptr || strcmp(mode, "report") != 0) abort();
}
