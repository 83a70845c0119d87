// System messages for failed calls on locks, and the fatal error.

#ifndef TTY_DB_FRAME_MESSAGES_H
#define TTY_DB_FRAME_MESSAGES_H

#include "frame/operation.h"
#include "tty_platform.h"

// The component of the library's result codes and message ids.
constexpr uint32_t TTY_DB_COMPONENT = TTY_DB_ERR_NO_MEMORY >> 15 & 0x1fff;

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

// Reports a failed lock operation: traces a line and raises KERNEL_ERROR.
[[gnu::cold]] void tty_db_report_kernel_error(tty_db_speaker op, const char *operation, int error,
                                              int line = __builtin_LINE());

// Reports the same, raises PANIC and aborts.
[[noreturn, gnu::cold]] void tty_db_fatal_error(tty_db_speaker op, const char *operation, int error,
                                                int line = __builtin_LINE());

// Traces a failed call that is not reported: the destruction of a lock.
[[gnu::cold]] void tty_db_trace_failed_call(tty_db_speaker op, const char *call, int error,
                                            int line = __builtin_LINE());

#endif  // TTY_DB_FRAME_MESSAGES_H
