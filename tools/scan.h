// Reads what the machine tells of its terminal lines into plain records.
//
// Nothing but pseudo-terminals is ever opened: opening a serial port moves its modem lines.
#ifndef TTYDB_TOOLS_SCAN_H
#define TTYDB_TOOLS_SCAN_H

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "classify.h"

namespace tty_lines {

// The directories that the machine is read from.
struct Roots {
  std::string sysfs = "/sys";
  std::string proc = "/proc";
  std::string dev = "/dev";
};

struct Device {
  std::uint32_t major;
  std::uint32_t minor;

  friend bool operator==(Device left, Device right) {
    return left.major == right.major && left.minor == right.minor;
  }
};

struct WindowSize {
  std::uint16_t rows;
  std::uint16_t columns;
};

// What a pseudo-terminal tells when asked; each value only where it could be read.
struct TerminalState {
  std::optional<WindowSize> size;
  std::optional<std::uint32_t> speed;  // baud
  std::optional<pid_t> foreground;     // process group
};

struct ScannedLine {
  std::string name;
  std::optional<Device> device;  // none if the kernel's list does not tell it
  std::string driver;            // empty if the drivers table has none for the device
  std::string driver_path;       // tells drivers of one name apart
  Class place;
  TerminalState state;
};

// The lines of the machine in order of name.  A line that vanishes during the scan is left out.
// Throws std::system_error, with the path, if a root is missing or cannot be read.
std::vector<ScannedLine> scan(const Roots& roots);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_SCAN_H
