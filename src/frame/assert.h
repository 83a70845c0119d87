// Assertions: checks of the library's own invariants and of what its internal routines require.
//
// They are part of every build type.  The report of a failed one may return; then the routine goes
// on, unless that would touch memory that the assertion has just shown to be wrong: hence the
// result.  The expressions say NULL, since their texts are what is reported.

#ifndef TTY_DB_FRAME_ASSERT_H
#define TTY_DB_FRAME_ASSERT_H

#include "tty_platform.h"

inline bool tty_db_assert(bool holds, const char *routine, int line, const char *expression) {
  if (__builtin_expect(!holds, 0)) tty_ltrace_assert(routine, line, expression);
  return holds;
}

// Asserts a condition that is reported under the given text.  Yields whether it holds.
#define TTY_DB_ASSERT_TEXT(condition, text) tty_db_assert((condition), __func__, __LINE__, (text))

// Asserts an expression, evaluated exactly once.  Yields whether it holds.
#define TTY_DB_ASSERT(expression) TTY_DB_ASSERT_TEXT((expression), #expression)

#endif  // TTY_DB_FRAME_ASSERT_H
