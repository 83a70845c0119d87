// Writes to standard output, and waits for the machine to change, until the reader has gone.
#ifndef TTYDB_TOOLS_WATCH_H
#define TTYDB_TOOLS_WATCH_H

#include <chrono>
#include <string_view>

#include "files.h"
#include "scan.h"

namespace tty_lines {

// Writes all of the text.  Returns false, with part of it written perhaps, if the reader has gone.
// Throws std::system_error on any other failure.
bool write_output(std::string_view text);

// Makes SIGINT and SIGTERM end the process with success, wherever it is, and the end of the reader
// show as a result.
void end_on_signals();

// Hears of changes from the kernel: of devices, and of what comes and goes in the directories of
// lines.  What it cannot hear of, a look every now and then has to find.
class Watch {
 public:
  explicit Watch(const Roots& roots);

  // Waits for news, and until no more come for a moment, so that a burst is taken as one; or until
  // the time has passed.  Returns false as soon as the reader of standard output has gone.
  bool wait(std::chrono::nanoseconds most) const;

 private:
  Descriptor devices_;
  Descriptor directories_;
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_WATCH_H
