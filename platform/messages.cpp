// The system-message logger: formats a message by its record and gives it to syslog(3), with a copy
// on standard error.

#include <stdarg.h>
#include <stdio.h>
#include <syslog.h>
#include <unistd.h>

#include "tty_platform.h"

int kel_errmsg(const void *record, int severity, ...) {
  const auto *message = static_cast<const tty_db_msg_rec_type *>(record);
  char text[512];
  va_list args;
  va_start(args, severity);
  vsnprintf(text, sizeof(text), message->format, args);
  va_end(args);
  syslog(severity <= 2 ? LOG_CRIT : LOG_ERR, "%s %s: %s", message->facility, message->mnemonic,
         text);
  dprintf(STDERR_FILENO, "%s %s: %s\n", message->facility, message->mnemonic, text);
  return 0;
}
