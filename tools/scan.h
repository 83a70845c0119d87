// Reads what the machine tells of its terminal lines into plain records.
//
// Nothing but pseudo-terminals is ever opened: opening a serial port moves its modem lines.
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

// The directories that the machine is read from.
struct Roots {
  std::string sysfs = "/sys";
  std::string proc = "/proc";
  std::string dev = "/dev";
  std::string lock = "/run/lock";
  std::string udev = "/run/udev";
};

struct ScannedLine {
  std::string name;
  std::optional<Device> device;  // none if the kernel's list does not tell it
  std::string driver_path;       // tells drivers of one name apart
  Kind kind = kOther;
  std::optional<std::uint32_t> number;  // in the name
  // A serial port without a UART, a virtual console that nobody uses, or a line that stands for
  // another.
  bool idle = false;
  Cells cells;  // but those of the name, the device and the position

  // In which the line is to be registered.
  std::uint32_t category() const { return kKinds[kind].category; }
};

struct Machine {
  std::vector<ScannedLine> lines;       // in order of name
  std::vector<std::string> unreadable;  // paths, each with the reason
  bool users_complete = true;           // the open files of all processes could be read
};

// Reads the machine.  What cannot be read is named, and the rest is told.  A line that vanishes
// meanwhile is left out.  Who has lines open, and the state of pseudo-terminals, are read only if
// their use is asked for.  Throws std::system_error if the process has run out of descriptors or
// memory.
Machine scan(const Roots& roots, bool use);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_SCAN_H
