// Writes to standard output, and waits for changes of the machine, until the reader has gone.
#ifndef TTYDB_TOOLS_WATCH_H
#define TTYDB_TOOLS_WATCH_H

#include <chrono>
#include <string_view>

#include "files.h"
#include "scan.h"

namespace tty_lines {

// Writes a text.  Returns false if the reader has gone, or throws std::system_error.
bool write_output(std::string_view text);

// Makes SIGINT and SIGTERM end the process at once, with success, and ignores SIGPIPE.
void end_on_signals();

// Receives the kernel's uevents, and changes in the directories of lines.  Other changes need
// regular scans.
class Watch {
 public:
  explicit Watch(const Roots& roots);

  // Waits until the time has passed or a burst of events has ended.  Returns false once the reader
  // of standard output has gone.
  bool wait(std::chrono::nanoseconds most) const;

 private:
  Descriptor devices_;
  Descriptor directories_;
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_WATCH_H
