// Writes to standard output, and waits, until a stop signal or the end of the reader.
//
// The stop signals are blocked but while the process waits, so that none is lost between a look at
// the flag and the wait.
#ifndef TTYDB_TOOLS_OUTPUT_H
#define TTYDB_TOOLS_OUTPUT_H

#include <signal.h>

#include <chrono>
#include <string_view>

namespace tty_lines {

class Output {
 public:
  // A closed pipe shows as the end of the reader from here on, not as a signal.
  Output();

  // Makes SIGINT and SIGTERM stop the output, rather than the process.
  void catch_stop_signals();

  // Writes all of the text.  Returns false, with part of it written perhaps, if the output is to
  // end. Throws std::system_error on any other failure.
  bool write(std::string_view text);

  // Waits.  Returns false as soon as the output is to end.
  bool wait(std::chrono::nanoseconds duration);

 private:
  enum class Poll { kNothing, kEvent, kStopped };
  Poll poll(short events, const timespec* timeout);

  bool catching_ = false;
  sigset_t waiting_mask_{};  // good if catching_
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_OUTPUT_H
