// The exit lines of operations.

#include "frame/operation.h"

void tty_db_trace_result(tty_db_speaker op, int line, uint32_t rc) {
  if (rc == 0) {
    TTY_DB_TRACE_IF_AT(op.category, TTY_DB_TRACE_EXIT, op.routine, line, "EXITED   '%s' :SUCCESS",
                       op.routine);
    return;
  }
  const char *text = qerr_strerror(rc);
  TTY_DB_TRACE_IF_AT(op.category, TTY_DB_TRACE_EXIT, op.routine, line, "EXITED   '%s' [0x%x]:%s",
                     op.routine, rc, text != nullptr ? text : "UNREGISTERED");
}
