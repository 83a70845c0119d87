// Reads what the machine tells of its terminal lines into plain records.
//
// Nothing but pseudo-terminals is ever opened: opening a serial port moves its modem lines.
#ifndef TTYDB_TOOLS_SCAN_H
#define TTYDB_TOOLS_SCAN_H

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
};

struct ScannedLine {
  std::string name;
  std::optional<Device> device;  // none if the kernel's list does not tell it
  std::string driver_path;       // tells drivers of one name apart
  Class place{};
  bool idle = false;  // a serial port without a UART, or a virtual console that nobody uses
  Cells cells;        // but those of the name, the device and the position
};

// The lines of the machine in order of name.  A line that vanishes during the scan is left out.
// Throws std::system_error, with the path, if a root is missing or cannot be read, or if the
// process has run out of descriptors or memory.
std::vector<ScannedLine> scan(const Roots& roots);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_SCAN_H
