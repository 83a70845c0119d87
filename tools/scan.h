// Reads the terminal lines of the machine into plain records.
//
// Only pseudo-terminals are ever opened: opening a serial port changes its modem signals.
#ifndef TTYDB_TOOLS_SCAN_H
#define TTYDB_TOOLS_SCAN_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "classify.h"
#include "columns.h"
#include "parse.h"

namespace tty_lines {

// The directories to read.
struct Roots {
  std::string sysfs = "/sys";
  std::string proc = "/proc";
  std::string dev = "/dev";
  std::string lock = "/run/lock";
  std::string udev = "/run/udev";
};

struct ScannedLine {
  std::string name;
  std::optional<Device> device;  // none if it cannot be read
  std::string driver_path;       // distinguishes drivers with the same name
  Kind kind = kOther;
  std::optional<std::uint32_t> number;  // in the name
  // A serial port without a UART, an unused virtual console, or a special file such as /dev/tty.
  bool idle = false;
  Cells cells;  // except the name, the device and the position

  std::uint32_t category() const { return kKinds[kind].category; }
};

struct Machine {
  std::vector<ScannedLine> lines;       // in order of name
  std::vector<std::string> unreadable;  // paths, with the reason
  bool users_complete = true;           // false: some processes' open files could not be read
};

// Reads the machine, as far as it can be read.  With `use`, also reads which processes have lines
// open, and the size and speed of pseudo-terminals.  A line that vanishes meanwhile is skipped.
// Throws std::system_error if descriptors or memory run out.
Machine scan(const Roots& roots, bool use);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_SCAN_H
