// Tracing, checks and the result of a routine.
//
// Every routine declares one variable named `op`, which the macros below use: a tty_db_operation if
// its exit line has a result, else a tty_db_speaker.  A helper that traces in the name of a routine
// takes the speaker by value, as `op`: steps can move between routine and helper without a change
// in the trace.  Each file defines its trace category as kTrace.
//
// A routine checks conditions in three ways:
//
//   macro           checks                                  if the condition is false
//   TTY_DB_REQUIRE  an argument of a public operation       traces it, TTY_DB_ERR_INVALID_ARG
//   TTY_DB_ASSERT   an invariant of the library             reports it, yields false
//   TTY_DB_NEED     a precondition of an internal routine   reports it, TTY_DB_ERR_INVALID_ARG
//
// Assertions (the last two) are in every build type and evaluate their expression exactly once.
// The report may return.  Then the routine continues, unless it would use memory that the assertion
// has shown to be wrong.  The expressions use NULL, not nullptr: their text is reported.
//
// A helper that several files share takes the source line of its caller and passes it to the macros
// that end in _AT, so that a traced line and routine are from the same file.

#ifndef TTY_DB_FRAME_OPERATION_H
#define TTY_DB_FRAME_OPERATION_H

#include "frame/trace.h"

// The name and the trace category of a routine.
struct tty_db_speaker {
  explicit tty_db_speaker(tty_db_trace_category in_category,
                          const char *name = __builtin_FUNCTION())
      : category(in_category), routine(name) {}

  // Traces the exit line of a routine without a result.
  void exit(int line = __builtin_LINE()) const {
    TTY_DB_TRACE_IF_AT(category, TTY_DB_TRACE_EXIT, routine, line, "Exiting ..");
  }

  tty_db_trace_category category;
  const char *routine;
};

// Traces the exit line of a routine with a result.  REQUIRES: tracing is on for the category.
[[gnu::cold]] void tty_db_trace_result(tty_db_speaker op, int line, uint32_t rc);

// A routine with a result, which is 0 until a step fails.
struct tty_db_operation : tty_db_speaker {
  explicit tty_db_operation(tty_db_trace_category in_category,
                            const char *name = __builtin_FUNCTION())
      : tty_db_speaker(in_category, name) {}

  bool ok() const { return rc == 0; }

  // Traces the exit line and returns the result.
  [[nodiscard]] uint32_t exit(int line = __builtin_LINE()) const {
    if (tty_db_trace_on(category)) tty_db_trace_result(*this, line, rc);
    return rc;
  }

  uint32_t rc = 0;
};

// Traces the entry line of a routine: TTY_DB_ENTER("DB=%X: block=%X", db_h, block_h).
#define TTY_DB_ENTER(...) \
  TTY_DB_TRACE_IF(op.category, TTY_DB_TRACE_ENTRY, op.routine, "Entering .." __VA_ARGS__)

// Traces a line inside a routine.
#define TTY_DB_SAY(...) TTY_DB_SAY_AT(__LINE__, __VA_ARGS__)
#define TTY_DB_SAY_AT(line, ...) \
  TTY_DB_TRACE_IF_AT(op.category, TTY_DB_TRACE_LINE, op.routine, line, __VA_ARGS__)

// Checks an argument of a public operation: TTY_DB_REQUIRE(condition, format, arguments...).  If
// the condition is false, traces the line and sets the result to TTY_DB_ERR_INVALID_ARG.
#define TTY_DB_REQUIRE(condition, ...) TTY_DB_REQUIRE_AT(__LINE__, condition, __VA_ARGS__)
#define TTY_DB_REQUIRE_AT(line, condition, ...) \
  do {                                          \
    if (__builtin_expect(!(condition), 0)) {    \
      TTY_DB_SAY_AT(line, __VA_ARGS__);         \
      op.rc = TTY_DB_ERR_INVALID_ARG;           \
    }                                           \
  } while (false)

// Asserts an expression and yields its value.
#define TTY_DB_ASSERT(expression) TTY_DB_ASSERT_TEXT((expression), #expression)

// Asserts a condition that is reported with another text.
#define TTY_DB_ASSERT_TEXT(condition, text) tty_db_assert(op, (condition), text, __LINE__)

inline bool tty_db_assert(tty_db_speaker op, bool condition, const char *text, int line) {
  if (__builtin_expect(!condition, 0)) {
    tty_ltrace_assert(op.routine, line, text);
#ifdef __clang_analyzer__
    __builtin_trap();
#endif
  }
  return condition;
}

// Asserts a precondition of an internal routine.  If it is false, sets the result to
// TTY_DB_ERR_INVALID_ARG.
#define TTY_DB_NEED(expression) tty_db_need(op, TTY_DB_ASSERT_TEXT((expression), #expression))

inline void tty_db_need(tty_db_operation &op, bool holds) {
  if (!holds) op.rc = TTY_DB_ERR_INVALID_ARG;
}

#endif  // TTY_DB_FRAME_OPERATION_H
