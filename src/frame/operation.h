// Who speaks, and with what result: the two values that a routine carries from its first line to
// its last.
//
// Every routine makes one of them, named `op`: a tty_db_operation where it has a result, else a
// tty_db_speaker.  The macros below take it from the scope.  A helper that speaks in a routine's
// name gets the speaker by value, as `op` too, so that steps move between the two without a change
// in what is traced.  Each file names its category once, as kTrace.
//
// A routine checks in three ways:
//
//   word            what                                  if it does not hold
//   TTY_DB_REQUIRE  an argument of a public operation     traces a line, TTY_DB_ERR_INVALID_ARG
//   TTY_DB_ASSERT   an invariant of the library           reports it, and yields false
//   TTY_DB_NEED     what an internal routine relies on    reports it, TTY_DB_ERR_INVALID_ARG
//
// Assertions (the last two) are in every build type, and evaluate their expression exactly once.
// The report may return.  Then a routine goes on, unless it would touch memory that the assertion
// has just shown to be wrong.  The expressions say NULL, since their texts are what is reported.
//
// A helper that several files share takes its caller's line of the source, and hands it to the
// words that end in _AT: a line and its routine are of one file.

#ifndef TTY_DB_FRAME_OPERATION_H
#define TTY_DB_FRAME_OPERATION_H

#include "frame/trace.h"

// A routine, by its name, and the category that its lines go to.
struct tty_db_speaker {
  explicit tty_db_speaker(tty_db_trace_category in_category,
                          const char *name = __builtin_FUNCTION())
      : category(in_category), routine(name) {}

  // The exit line of a routine without a result.
  void exit(int line = __builtin_LINE()) const {
    TTY_DB_TRACE_IF_AT(category, TTY_DB_TRACE_EXIT, routine, line, "Exiting ..");
  }

  tty_db_trace_category category;
  const char *routine;
};

// Writes the exit line of a routine with a result.  REQUIRES: the gate of the category is open.
[[gnu::cold]] void tty_db_trace_result(tty_db_speaker op, int line, uint32_t rc);

// A routine with a result: 0 as long as no step has failed.
struct tty_db_operation : tty_db_speaker {
  explicit tty_db_operation(tty_db_trace_category in_category,
                            const char *name = __builtin_FUNCTION())
      : tty_db_speaker(in_category, name) {}

  bool ok() const { return rc == 0; }

  // Traces the exit line.  Returns the result that it tells.
  [[nodiscard]] uint32_t exit(int line = __builtin_LINE()) const {
    if (tty_db_trace_on(category)) tty_db_trace_result(*this, line, rc);
    return rc;
  }

  uint32_t rc = 0;
};

// Traces the first line of a routine: TTY_DB_ENTER("DB=%X: block=%X", db_h, block_h).
#define TTY_DB_ENTER(...) \
  TTY_DB_TRACE_IF(op.category, TTY_DB_TRACE_ENTRY, op.routine, "Entering .." __VA_ARGS__)

// Traces a line inside a routine.
#define TTY_DB_SAY(...) TTY_DB_SAY_AT(__LINE__, __VA_ARGS__)
#define TTY_DB_SAY_AT(line, ...) \
  TTY_DB_TRACE_IF_AT(op.category, TTY_DB_TRACE_LINE, op.routine, line, __VA_ARGS__)

// Checks an argument of a public operation: TTY_DB_REQUIRE(condition, format, arguments...) traces
// the line and makes the result TTY_DB_ERR_INVALID_ARG if the condition does not hold.
#define TTY_DB_REQUIRE(condition, ...) TTY_DB_REQUIRE_AT(__LINE__, condition, __VA_ARGS__)
#define TTY_DB_REQUIRE_AT(line, condition, ...) \
  do {                                          \
    if (__builtin_expect(!(condition), 0)) {    \
      TTY_DB_SAY_AT(line, __VA_ARGS__);         \
      op.rc = TTY_DB_ERR_INVALID_ARG;           \
    }                                           \
  } while (false)

// Asserts an expression, and yields whether it holds.
#define TTY_DB_ASSERT(expression) TTY_DB_ASSERT_TEXT((expression), #expression)

// The same, for a condition that is reported under another text.
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

// Asserts what an internal routine relies on: if it does not hold, the result is
// TTY_DB_ERR_INVALID_ARG.
#define TTY_DB_NEED(expression) tty_db_need(op, TTY_DB_ASSERT_TEXT((expression), #expression))

inline void tty_db_need(tty_db_operation &op, bool holds) {
  if (!holds) op.rc = TTY_DB_ERR_INVALID_ARG;
}

#endif  // TTY_DB_FRAME_OPERATION_H
