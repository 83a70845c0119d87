// The message records, which the logger may write, and the reports that raise them.

#include "frame/messages.h"

#include <stddef.h>
#include <stdlib.h>
#include <string.h>

// The layout that the logger expects, on 32-bit and 64-bit machines.
constexpr size_t kPointer = sizeof(void *);
static_assert(sizeof(tty_db_msg_limit_type) == 32);
static_assert(offsetof(tty_db_msg_rec_type, mnemonic) == 5 * kPointer);
static_assert(offsetof(tty_db_msg_rec_type, severity) == 6 * kPointer + 2);
static_assert(offsetof(tty_db_msg_rec_type, id) == 6 * kPointer + 16);
static_assert(sizeof(tty_db_msg_rec_type) == 6 * kPointer + 24);

namespace {

constexpr uint16_t kCritical = 2;
constexpr uint16_t kError = 3;

constexpr tty_db_msg_rec_type message_record(uint16_t number, uint16_t severity,
                                             const char *mnemonic, tty_db_msg_limit_type *limit,
                                             const char *format) {
  return {nullptr,  format, limit,    "TTY_DB", "MGBL",
          mnemonic, 1,      severity, {},       TTY_DB_COMPONENT << 16 | number,
          0};
}

}  // namespace

tty_db_msg_limit_type kel_msg_limit_tty_db_panic = {{1}};
tty_db_msg_limit_type kel_msg_limit_tty_db_lock_error = {{1}};
tty_db_msg_limit_type kel_msg_limit_tty_db_lock_busy = {{1}};
tty_db_msg_limit_type kel_msg_limit_tty_db_kernel_error = {{1}};

tty_db_msg_rec_type kel_msg_rec_tty_db_panic = message_record(
    3, kCritical, "PANIC", &kel_msg_limit_tty_db_panic,
    "The TTY DB library has encountered a critical error and must restart the process.");

tty_db_msg_rec_type kel_msg_rec_tty_db_lock_error =
    message_record(2, kError, "LOCK_ERROR", &kel_msg_limit_tty_db_lock_error,
                   "Lock operation failed: Requester (0x%x) Owner (0x%x) Lock address (%p) Error "
                   "(%d) Reason : %s");

tty_db_msg_rec_type kel_msg_rec_tty_db_lock_busy = message_record(
    1, kError, "LOCK_BUSY", &kel_msg_limit_tty_db_lock_busy,
    "Lock busy, Lock operation failed: Requester (0x%x) Owner (0x%x) Lock address (%p)");

tty_db_msg_rec_type kel_msg_rec_tty_db_kernel_error =
    message_record(0, kError, "KERNEL_ERROR", &kel_msg_limit_tty_db_kernel_error,
                   "Kernel operation failed unexpectedly: %s (%d)");

void tty_db_report_kernel_error(tty_db_speaker op, const char *operation, int error, int line) {
  TTY_DB_TRACE_IF_AT(op.category, TTY_DB_TRACE_LINE, op.routine, line,
                     "Kernel operation failed unexpectedly: %s, '%s' (%d)", operation,
                     strerror(error), error);
  kel_errmsg(&kel_msg_rec_tty_db_kernel_error, kError, operation, error);
}

void tty_db_fatal_error(tty_db_speaker op, const char *operation, int error, int line) {
  tty_db_report_kernel_error(op, operation, error, line);
  kel_errmsg(&kel_msg_rec_tty_db_panic, kCritical);
  abort();
}

void tty_db_trace_failed_call(tty_db_speaker op, const char *call, int error, int line) {
  TTY_DB_TRACE_IF_AT(op.category, TTY_DB_TRACE_LINE, op.routine, line, "%s() returned: %d, '%s'",
                     call, error, strerror(error));
}
