// A client of the stand-in's trace facility, with the categories "global", "block" and "tty".

#ifndef TTY_DB_TESTS_PLATFORM_CLIENT_H
#define TTY_DB_TESTS_PLATFORM_CLIENT_H

#include <regex>
#include <string>

#include "tty_platform.h"

struct Client {
  Client() {
    static const char *const names[] = {"global", "block", "tty", nullptr};
    tty_debug_initialize("client", 0, names, nullptr, 0, &context, &enabled);
  }
  ~Client() { tty_debug_cleanup("client", context, enabled); }

  // Traces a line in the category "block".
  void trace(const char *text) {
    tty_trace(&context->categories[1], 5, 0, 0, 0, "routine", 12, "%s", text);
  }

  tty_trace_context *context = nullptr;
  uintptr_t enabled = 2;
};

// Trace lines without their times and thread numbers.
inline std::string without_times(const std::string &lines) {
  static const std::regex time_and_thread("[0-9:]{8}\\.[0-9]{6} [0-9]+ ");
  return std::regex_replace(lines, time_and_thread, "");
}

#endif  // TTY_DB_TESTS_PLATFORM_CLIENT_H
