// Assertion reports: writes a line to standard error, then aborts unless the environment variable
// TTY_ASSERT is "report".

#include <stdlib.h>
#include <string.h>

#include "line.h"
#include "service.h"
#include "tty_platform.h"

void tty_ltrace_assert(const char *routine, int line, const char *expression) {
  const ServiceCall call;
  Line report;
  report.print("Assertion failed in %s, line %d: %s", routine, line, expression);
  report.report();
  const char *mode = secure_getenv("TTY_ASSERT");
  if (mode == nullptr || strcmp(mode, "report") != 0) abort();
}
