// The trace point, and the lines that every operation traces alike.
//
// The state behind the gate is written by the load and unload hooks only (see load.cpp), so that it
// is read without a lock.  While the gate is closed, a trace point costs one load and one branch:
// nothing of its line is evaluated.

#ifndef TTY_DB_FRAME_TRACE_H
#define TTY_DB_FRAME_TRACE_H

#include <stdint.h>

#include <type_traits>

#include "tty_db.h"
#include "tty_platform.h"

// The trace categories, in the order in which the load hook names them.
enum tty_db_trace_category : uint32_t {
  TTY_DB_TRACE_GLOBAL,
  TTY_DB_TRACE_BLOCK,
  TTY_DB_TRACE_TTY,
  TTY_DB_TRACE_ITEM,
  TTY_DB_TRACE_ITERATION,
};

enum tty_db_trace_kind : int {
  TTY_DB_TRACE_LINE = 0,   // a line inside a routine
  TTY_DB_TRACE_ENTRY = 1,  // a routine's first line
  TTY_DB_TRACE_EXIT = 2,   // a routine's last line
};

extern tty_trace_context *tty_db_trace_ctx;
extern uintptr_t tty_db_trace_enabled;
extern uintptr_t tty_db_trace_reg[2];

// Says whether any line at all may be wanted: if not, a walk need not stop where it would trace
// one. TTY_DB_NO_TRACE_POINTS leaves the trace points out, to measure what they cost.
inline bool tty_db_tracing() {
#ifdef TTY_DB_NO_TRACE_POINTS
  return false;
#else
  return __builtin_expect(tty_db_trace_enabled != 0, 0);
#endif
}

// The trace gate: says whether lines of a category are wanted.
inline bool tty_db_trace_on(tty_db_trace_category category) {
  return tty_db_tracing() && tty_db_trace_ctx != nullptr &&
         tty_db_trace_ctx->categories[category].enabled != 0;
}

// What the trace facility reads: every integer as a 64-bit word, every pointer as a pointer.
template <typename T>
auto tty_db_trace_word(T value) {
  if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) {
    return static_cast<int64_t>(value);
  } else if constexpr (std::is_integral_v<T>) {
    return static_cast<uint64_t>(value);
  } else {
    return value;
  }
}

// Emits a line.  REQUIRES: the gate of the category is open.
template <typename... Args>
[[gnu::cold, gnu::noinline]] void tty_db_trace_line(tty_db_trace_category category,
                                                    tty_db_trace_kind kind, const char *routine,
                                                    int line, const char *format, Args... args) {
  tty_trace(&tty_db_trace_ctx->categories[category], 5, 0, tty_db_trace_reg[1], kind, routine, line,
            format, tty_db_trace_word(args)...);
}

// The trace point.  A macro, so that the arguments are evaluated only behind an open gate:
// TTY_DB_TRACE_IF(category, kind, routine, format, arguments...).
#define TTY_DB_TRACE_IF(category, kind, routine, ...)                    \
  do {                                                                   \
    if (tty_db_trace_on(category)) {                                     \
      tty_db_trace_line(category, kind, routine, __LINE__, __VA_ARGS__); \
    }                                                                    \
  } while (false)

// Writes the exit line of a routine that returns `rc`.  REQUIRES: the gate of the category is open.
[[gnu::cold]] void tty_db_trace_result(tty_db_trace_category category, const char *routine,
                                       int line, uint32_t rc);

// Traces the exit line of the calling routine, which returns `rc`.
inline void tty_db_trace_exit(tty_db_trace_category category, uint32_t rc,
                              const char *routine = __builtin_FUNCTION(),
                              int line = __builtin_LINE()) {
  if (tty_db_trace_on(category)) tty_db_trace_result(category, routine, line, rc);
}

// What a format prints of a string that may be NULL.
inline const char *tty_db_trace_string(const char *text) {
  return text != nullptr ? text : "<NULL>";
}

#endif  // TTY_DB_FRAME_TRACE_H
