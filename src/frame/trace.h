// Trace points.
//
// While tracing is off, a trace point costs one load and one branch; its arguments are not
// evaluated.  It reads two kinds of data without a lock:
//
// - tty_db_trace_enabled and tty_db_trace_ctx, which only the load hook sets.  The loader runs it
//   before any call of the library.
// - The `enabled` word of a category, which the host may change at any time.  It is read atomically
//   and orders nothing else.

#ifndef TTY_DB_FRAME_TRACE_H
#define TTY_DB_FRAME_TRACE_H

#include <stddef.h>
#include <stdint.h>

#include <type_traits>

#include "tty_db.h"
#include "tty_platform.h"

// The trace categories, in the order of tty_db_trace_categories.
enum tty_db_trace_category : uint32_t {
  TTY_DB_TRACE_GLOBAL,
  TTY_DB_TRACE_BLOCK,
  TTY_DB_TRACE_TTY,
  TTY_DB_TRACE_ITEM,
  TTY_DB_TRACE_ITERATION,
};

enum tty_db_trace_kind : int {
  TTY_DB_TRACE_LINE = 0,   // a line inside a routine
  TTY_DB_TRACE_ENTRY = 1,  // the first line of a routine
  TTY_DB_TRACE_EXIT = 2,   // the last line of a routine
};

extern tty_trace_context *tty_db_trace_ctx;
extern uintptr_t tty_db_trace_enabled;
extern uintptr_t tty_db_trace_reg[2];

// Returns whether tracing is on.  If not, a lookup in the index replaces a walk that would trace.
// TTY_DB_NO_TRACE_POINTS removes the trace points, to measure their cost.
inline bool tty_db_tracing() {
#ifdef TTY_DB_NO_TRACE_POINTS
  return false;
#else
  return __builtin_expect(tty_db_trace_enabled != 0, 0);
#endif
}

// Returns whether tracing is on for a category.
inline bool tty_db_trace_on(tty_db_trace_category category) {
  return tty_db_tracing() && tty_db_trace_ctx != nullptr &&
         __atomic_load_n(&tty_db_trace_ctx->categories[category].enabled, __ATOMIC_RELAXED) != 0;
}

// Converts an argument for the trace facility: a string to a pointer, all else to a 64-bit word.
template <typename T>
auto tty_db_trace_word(T value) {
  if constexpr (std::is_same_v<T, const char *> || std::is_same_v<T, char *>) {
    return value;
  } else if constexpr (std::is_pointer_v<T>) {
    return uint64_t{reinterpret_cast<uintptr_t>(value)};
  } else if constexpr (std::is_signed_v<T>) {
    return int64_t{value};
  } else {
    return uint64_t{value};
  }
}

// The directives that print an argument of a type; x stands for d, lu and x.
template <typename T>
constexpr const char *tty_db_trace_directives() {
  if (std::is_integral_v<T>) return "xX";
  if (std::is_same_v<T, const char *> || std::is_same_v<T, char *>) return "s";
  return std::is_pointer_v<T> ? "X" : "";
}

// The argument types of a trace line.  The function is not defined: only decltype uses it.
template <typename... Args>
struct tty_db_trace_types {};
template <typename... Args>
tty_db_trace_types<std::decay_t<Args>...> tty_db_trace_types_of(const char *format,
                                                                const Args &...args);

// Returns whether a format has one directive for each argument, and of its type.
template <typename... Args>
constexpr bool tty_db_trace_fits(const char *format, tty_db_trace_types<Args...> /*types*/) {
  const char *const directives[] = {tty_db_trace_directives<Args>()..., ""};
  size_t count = 0;
  for (; *format != '\0'; ++format) {
    if (*format != '%') continue;
    if (count == sizeof...(Args)) return false;
    ++format;
    if (format[0] == 'l' && format[1] == 'u') ++format;
    const char kind = *format == 'd' || *format == 'u' ? 'x' : *format;
    const char *known = directives[count++];
    while (*known != '\0' && *known != kind) ++known;
    if (*known == '\0') return false;
  }
  return count == sizeof...(Args);
}

// Traces a line.  REQUIRES: tracing is on for the category.
template <typename... Args>
[[gnu::cold, gnu::noinline]] void tty_db_trace_line(tty_db_trace_category category,
                                                    tty_db_trace_kind kind, const char *routine,
                                                    int line, const char *format, Args... args) {
  tty_trace(&tty_db_trace_ctx->categories[category], 5, 0, tty_db_trace_reg[1], kind, routine, line,
            format, tty_db_trace_word(args)...);
}

// The trace point: TTY_DB_TRACE_IF(category, kind, routine, format, arguments...).  A macro, so
// that the arguments are evaluated only while tracing is on, and the format is checked at compile
// time.
#define TTY_DB_TRACE_IF(category, kind, routine, ...) \
  TTY_DB_TRACE_IF_AT(category, kind, routine, __LINE__, __VA_ARGS__)

// The same, with an explicit source line.
#define TTY_DB_TRACE_IF_AT(category, kind, routine, line, ...)       \
  do {                                                               \
    TTY_DB_CHECK_FORMAT(__VA_ARGS__);                                \
    if (tty_db_trace_on(category)) {                                 \
      tty_db_trace_line(category, kind, routine, line, __VA_ARGS__); \
    }                                                                \
  } while (false)

#define TTY_DB_CHECK_FORMAT(...)                                                   \
  static_assert(tty_db_trace_fits(TTY_DB_FORMAT_OF(__VA_ARGS__, ),                 \
                                  decltype(tty_db_trace_types_of(__VA_ARGS__)){}), \
                "the directives of the format do not fit its arguments")
#define TTY_DB_FORMAT_OF(format, ...) format

// Makes a string that may be NULL printable.
inline const char *tty_db_trace_string(const char *text) {
  return text != nullptr ? text : "<NULL>";
}

#endif  // TTY_DB_FRAME_TRACE_H
