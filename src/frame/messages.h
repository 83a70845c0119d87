// System messages: failed calls on locks, and the end of the process when a lock cannot be
// released.

#ifndef TTY_DB_FRAME_MESSAGES_H
#define TTY_DB_FRAME_MESSAGES_H

#include "frame/operation.h"
#include "tty_platform.h"

// The component of the library's result codes and message ids.
constexpr uint32_t TTY_DB_COMPONENT = 1200;

extern "C" {
extern TTY_DB_API tty_db_msg_rec_type kel_msg_rec_tty_db_panic;
extern TTY_DB_API tty_db_msg_rec_type kel_msg_rec_tty_db_lock_error;
extern TTY_DB_API tty_db_msg_rec_type kel_msg_rec_tty_db_lock_busy;
extern TTY_DB_API tty_db_msg_rec_type kel_msg_rec_tty_db_kernel_error;
extern TTY_DB_API tty_db_msg_limit_type kel_msg_limit_tty_db_panic;
extern TTY_DB_API tty_db_msg_limit_type kel_msg_limit_tty_db_lock_error;
extern TTY_DB_API tty_db_msg_limit_type kel_msg_limit_tty_db_lock_busy;
extern TTY_DB_API tty_db_msg_limit_type kel_msg_limit_tty_db_kernel_error;
}

// Reports that an `operation` on a lock failed with an error number: a trace line and a
// KERNEL_ERROR message.
[[gnu::cold]] void tty_db_report_kernel_error(tty_db_speaker op, const char *operation, int error,
                                              int line = __builtin_LINE());

// Reports as above, raises PANIC and ends the process.
[[noreturn, gnu::cold]] void tty_db_fatal_error(tty_db_speaker op, const char *operation, int error,
                                                int line = __builtin_LINE());

// Traces that a call failed whose failure is reported nowhere else: the destruction of a lock.
[[gnu::cold]] void tty_db_trace_failed_call(tty_db_speaker op, const char *call, int error,
                                            int line = __builtin_LINE());

#endif  // TTY_DB_FRAME_MESSAGES_H
