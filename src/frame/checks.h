// What the public operations do alike with their arguments.

#ifndef TTY_DB_FRAME_CHECKS_H
#define TTY_DB_FRAME_CHECKS_H

#include "frame/trace.h"

// Where a rejection comes from; converts from the category, and so names its caller.
struct tty_db_check_site {
  // NOLINTNEXTLINE(google-explicit-constructor): the conversion is the purpose
  tty_db_check_site(tty_db_trace_category in_category,
                    const char *in_routine = __builtin_FUNCTION(), int at_line = __builtin_LINE())
      : category(in_category), routine(in_routine), line(at_line) {}
  tty_db_trace_category category;
  const char *routine;
  int line;
};

// Traces why the calling operation rejects an argument.  Returns TTY_DB_ERR_INVALID_ARG.
template <typename... Args>
[[gnu::cold, gnu::noinline]] uint32_t tty_db_reject(tty_db_check_site site, const char *format,
                                                    Args... args) {
  if (tty_db_trace_on(site.category)) {
    tty_db_trace_line(site.category, TTY_DB_TRACE_LINE, site.routine, site.line, format, args...);
  }
  return TTY_DB_ERR_INVALID_ARG;
}

// Says whether first_tty .. first_tty + num_ttys - 1 is a range of ids: not empty, none above
// TTY_PORT_MAX, and no wrap-around.
inline bool tty_db_is_valid_range(uint32_t first_tty, uint32_t num_ttys) {
  return num_ttys > 0 && uint64_t{first_tty} + num_ttys - 1 <= TTY_PORT_MAX;
}

#endif  // TTY_DB_FRAME_CHECKS_H
