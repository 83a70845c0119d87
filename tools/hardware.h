// Tells what hardware is behind a line, from sysfs alone.
#ifndef TTYDB_TOOLS_HARDWARE_H
#define TTYDB_TOOLS_HARDWARE_H

#include <optional>
#include <string>

#include "classify.h"
#include "columns.h"

namespace tty_lines {

struct Hardware {
  bool has_no_uart;         // a serial port where none has been found
  std::optional<Kind> bus;  // the kind that the bus of the line tells
};

// Fills in the cells of a serial port, and of the device that it is on.  `directory` is the
// descriptor of /sys/class/tty, `udev` the path of what udev knows of the line: the maker and the
// model, from its database, of a USB device that does not tell them.
Hardware read_hardware(int directory, const std::string& name, const std::string& udev,
                       Cells& cells);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_HARDWARE_H
